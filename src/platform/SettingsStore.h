#pragma once

#include <QByteArray>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <optional>

namespace valimbra {

// The user-defaults store: typed values under string keys, with a registration layer whose
// values apply only to keys that were never written. All methods are thread-safe; changed()
// is emitted from the writing thread (receivers on the main thread get it queued).
class SettingsStore : public QObject {
    Q_OBJECT
public:
    explicit SettingsStore(QObject* parent = nullptr)
        : QObject(parent) {}
    ~SettingsStore() override = default;

    // Written value if any, else the registered default, else nothing.
    std::optional<QVariant> value(const QString& key) const;
    bool contains(const QString& key) const { return value(key).has_value(); }
    bool isWritten(const QString& key) const;

    // Typed reads; a missing or unconvertible value yields the fallback (0/false/""/empty).
    bool boolValue(const QString& key, bool fallback = false) const;
    qint64 integer(const QString& key, qint64 fallback = 0) const;
    double doubleValue(const QString& key, double fallback = 0.0) const;
    std::optional<QString> string(const QString& key) const;
    std::optional<QByteArray> data(const QString& key) const;

    void setBool(const QString& key, bool v) { write(key, QVariant(v)); }
    void setInteger(const QString& key, qint64 v) { write(key, QVariant(v)); }
    void setDouble(const QString& key, double v) { write(key, QVariant(v)); }
    void setString(const QString& key, const QString& v) { write(key, QVariant(v)); }
    void setData(const QString& key, const QByteArray& v) { write(key, QVariant(v)); }
    void remove(const QString& key);

    // Registration domain: defaults that apply wherever a key has never been written.
    void registerDefaults(const QVariantMap& defaults);

Q_SIGNALS:
    void changed(const QString& key);

protected:
    virtual std::optional<QVariant> readStored(const QString& key) const = 0;
    virtual void writeStored(const QString& key, const QVariant& v) = 0;
    virtual void removeStored(const QString& key) = 0;

private:
    void write(const QString& key, const QVariant& v);

    mutable QMutex m_defaultsMutex;
    QVariantMap m_registered;
};

} // namespace valimbra
