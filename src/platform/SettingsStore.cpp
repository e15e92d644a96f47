#include "SettingsStore.h"

#include <QMutexLocker>

#include <cmath>
#include <limits>

namespace valimbra {

std::optional<QVariant> SettingsStore::value(const QString& key) const {
    if (auto stored = readStored(key))
        return stored;
    QMutexLocker lock(&m_defaultsMutex);
    auto it = m_registered.constFind(key);
    if (it == m_registered.cend())
        return std::nullopt;
    return *it;
}

bool SettingsStore::isWritten(const QString& key) const {
    return readStored(key).has_value();
}

bool SettingsStore::boolValue(const QString& key, bool fallback) const {
    auto v = value(key);
    if (!v)
        return fallback;
    if (v->typeId() == QMetaType::QString || v->typeId() == QMetaType::QByteArray) {
        const QString s = v->toString().trimmed().toLower();
        if (s == u"true" || s == u"yes")
            return true;
        if (s == u"false" || s == u"no")
            return false;
        bool ok = false;
        const qint64 n = s.toLongLong(&ok);
        return ok ? n != 0 : fallback;
    }
    return v->canConvert<bool>() ? v->toBool() : fallback;
}

qint64 SettingsStore::integer(const QString& key, qint64 fallback) const {
    auto v = value(key);
    if (!v)
        return fallback;
    bool ok = false;
    // A hand-edited or corrupt file may hold anything. Numbers round to the nearest integer; NaN
    // reads as absent, and values beyond the range read as its ends (converting them, in our
    // code or Qt's, would be undefined).
    if (v->typeId() != QMetaType::Double && v->typeId() != QMetaType::Float) {
        const qint64 n = v->toLongLong(&ok);
        if (ok)
            return n;
    }
    const double d = v->toDouble(&ok);
    if (ok && std::isnan(d))
        return fallback;
    if (ok) {
        const double r = std::round(d);
        return r >= 0x1p63   ? std::numeric_limits<qint64>::max()
               : r < -0x1p63 ? std::numeric_limits<qint64>::min()
                             : qint64(r);
    }
    if (v->typeId() == QMetaType::Bool)
        return v->toBool() ? 1 : 0;
    return fallback;
}

double SettingsStore::doubleValue(const QString& key, double fallback) const {
    auto v = value(key);
    if (!v)
        return fallback;
    bool ok = false;
    const double d = v->toDouble(&ok);
    return ok && std::isfinite(d) ? d : fallback; // no delay or date is infinite or NaN
}

std::optional<QString> SettingsStore::string(const QString& key) const {
    auto v = value(key);
    if (!v || !v->canConvert<QString>())
        return std::nullopt;
    if (v->typeId() == QMetaType::QVariantList || v->typeId() == QMetaType::QStringList)
        return std::nullopt;
    return v->toString();
}

std::optional<QByteArray> SettingsStore::data(const QString& key) const {
    auto v = value(key);
    if (!v || v->typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return v->toByteArray();
}

void SettingsStore::remove(const QString& key) {
    removeStored(key);
    Q_EMIT changed(key);
}

void SettingsStore::registerDefaults(const QVariantMap& defaults) {
    {
        QMutexLocker lock(&m_defaultsMutex);
        for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
            m_registered.insert(it.key(), it.value());
    }
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        Q_EMIT changed(it.key());
}

void SettingsStore::write(const QString& key, const QVariant& v) {
    writeStored(key, v);
    Q_EMIT changed(key);
}

} // namespace valimbra
