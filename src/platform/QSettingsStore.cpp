#include "QSettingsStore.h"

#include "QtScheduler.h"

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMutexLocker>
#include <QSaveFile>
#include <QStandardPaths>

#include <cctype>

namespace valimbra {

namespace {
// QSettings treats '/' and '\' in keys as group separators; our keys are dotted and never
// contain them, but escape defensively so a key can never address another group.
QString iniKey(const QString& key) {
    QString k = key;
    k.replace(u'\\', u"%5C"_qs);
    k.replace(u'/', u"%2F"_qs);
    return k;
}

// A value as QSettings unescapes it: "\xHH" and octal escapes give their character, others their
// letter.
QByteArray unescaped(const QByteArray& value) {
    QByteArray out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        const char c = value[++i];
        const bool hex = c == 'x' || c == 'X';
        const auto isDigit = [hex](char d) {
            return hex ? std::isxdigit(static_cast<unsigned char>(d)) : d >= '0' && d <= '7';
        };
        if (!hex && !isDigit(c)) {
            out += c;
            continue;
        }
        qsizetype j = hex ? i + 1 : i;
        uint code = 0;
        for (; j < value.size() && isDigit(value[j]); ++j) {
            const char d = value[j];
            code = code * (hex ? 16 : 8) + uint(d <= '9' ? d - '0' : (d | 0x20) - 'a' + 10);
        }
        out += char(code & 0xff);
        i = j - 1;
    }
    return out;
}

// Whether the text can spell "@Variant(" at all: written out, or behind any escape but the two
// our own values use (\" and \\ inside "@ByteArray(...)"), or across a continued line.
bool mayHoldOpaqueValue(const QByteArray& text) {
    if (text.contains("iant("))
        return true;
    for (qsizetype i = text.indexOf('\\'); i >= 0; i = text.indexOf('\\', i + 2)) {
        if (i + 1 == text.size() || (text[i + 1] != '"' && text[i + 1] != '\\'))
            return true;
    }
    return false;
}

// QSettings deserialises "@Variant(...)" values with QDataStream as it reads the file, trusting
// the lengths inside: a corrupt or hand-made one makes it allocate gigabytes and the program dies
// at every start. We never write such values (only plain ones and "@ByteArray(...)"), so a line
// holding one is dropped before QSettings reads the file: that value reads as absent, the rest
// stays. QSettings also reads it spelt with escapes, as any item of a list, and across a line
// continued with a backslash; all of those count. The file is replaced whole, so an interrupted
// rewrite leaves it as it was.
const QString& withoutOpaqueValues(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return path;
    const QByteArray text = file.readAll();
    file.close();
    if (!mayHoldOpaqueValue(text))
        return path;
    const QList<QByteArray> lines = text.split('\n');
    QByteArray kept;
    bool dropped = false;
    for (qsizetype i = 0; i < lines.size();) {
        // One setting: a line and the lines its trailing backslashes continue it with.
        qsizetype end = i;
        QByteArray logical = lines[i];
        while (logical.endsWith('\\') || logical.endsWith("\\\r")) {
            if (++end >= lines.size())
                break;
            logical = logical.left(logical.lastIndexOf('\\')) + lines[end];
        }
        const qsizetype equals = logical.indexOf('=');
        const bool isOpaque =
            equals >= 0 && unescaped(logical.mid(equals + 1)).contains("@Variant(");
        for (qsizetype j = i; j <= end && j < lines.size(); ++j) {
            if (isOpaque)
                continue;
            kept += lines[j];
            if (j + 1 < lines.size())
                kept += '\n';
        }
        dropped = dropped || isOpaque;
        i = end + 1;
    }
    QSaveFile rewritten(path);
    if (dropped && rewritten.open(QIODevice::WriteOnly)) {
        rewritten.write(kept);
        rewritten.commit();
    }
    return path;
}
} // namespace

QString QSettingsStore::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/Brindlex/Valimbra.conf"_qs;
}

QSettingsStore::QSettingsStore(QObject* parent)
    : QSettingsStore(defaultPath(), parent) {}

QSettingsStore::QSettingsStore(const QString& iniPath, QObject* parent)
    : SettingsStore(parent)
    , m_settings(std::make_unique<QSettings>(withoutOpaqueValues(iniPath), QSettings::IniFormat))
    , m_saveQueue(std::make_unique<ThreadExecutor>(u"app.brindlex.settings"_qs)) {
    QDir().mkpath(QFileInfo(iniPath).absolutePath());
    m_settings->setAtomicSyncRequired(true);
    // QSettings would also save by itself from the main loop, outside our lock; saves are ours.
    m_settings->installEventFilter(this);
    clearTornLock(iniPath + u".lock"_qs);
}

// A process killed between creating QSettings' lock file and writing its owner into it leaves an
// empty lock that QLockFile only treats as stale after 30 s, stalling every save until then.
// A lock whose owner cannot be read is such a leftover; a readable one is judged by QLockFile.
void QSettingsStore::clearTornLock(const QString& lockPath) {
    QLockFile lock(lockPath);
    if (lock.tryLock(0)) {
        lock.unlock();
        return;
    }
    qint64 pid = 0;
    QString host, app;
    if (!lock.getLockInfo(&pid, &host, &app))
        lock.removeStaleLockFile();
}

QSettingsStore::~QSettingsStore() {
    m_saveQueue.reset(); // drains the queued save
    QMutexLocker lock(&m_mutex);
    m_settings->sync();
}

bool QSettingsStore::eventFilter(QObject* watched, QEvent* event) {
    return watched == m_settings.get() && event->type() == QEvent::UpdateRequest;
}

void QSettingsStore::flush() {
    QMutexLocker lock(&m_mutex);
    m_settings->sync();
}

// Called with m_mutex held. Writes in a burst share one save.
void QSettingsStore::scheduleSync() {
    if (m_syncQueued)
        return;
    m_syncQueued = true;
    m_saveQueue->submit([this] {
        QMutexLocker lock(&m_mutex);
        m_syncQueued = false;
        m_settings->sync();
    });
}

QString QSettingsStore::fileName() const {
    QMutexLocker lock(&m_mutex);
    return m_settings->fileName();
}

std::optional<QVariant> QSettingsStore::readStored(const QString& key) const {
    QMutexLocker lock(&m_mutex);
    const QString k = iniKey(key);
    if (!m_settings->contains(k))
        return std::nullopt;
    return m_settings->value(k);
}

void QSettingsStore::writeStored(const QString& key, const QVariant& v) {
    QMutexLocker lock(&m_mutex);
    m_settings->setValue(iniKey(key), v);
    scheduleSync();
}

void QSettingsStore::removeStored(const QString& key) {
    QMutexLocker lock(&m_mutex);
    m_settings->remove(iniKey(key));
    scheduleSync();
}

} // namespace valimbra
