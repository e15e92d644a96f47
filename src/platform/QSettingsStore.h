#pragma once

#include "Scheduler.h"
#include "SettingsStore.h"

#include <QSettings>

#include <memory>

namespace valimbra {

// The persistent store: an INI file (by default $XDG_CONFIG_HOME/Brindlex/Valimbra.conf).
// A write is visible to reads at once and reaches the disk shortly after, on a thread of its own,
// through QSettings' atomic save (temporary file + rename): a crash or kill mid-save leaves the
// previous file intact, and the main thread never waits for the disk.
class QSettingsStore final : public SettingsStore {
    Q_OBJECT
public:
    explicit QSettingsStore(QObject* parent = nullptr);
    explicit QSettingsStore(const QString& iniPath, QObject* parent = nullptr);
    ~QSettingsStore() override;

    QString fileName() const;
    static QString defaultPath();

    // Returns once everything written so far is on disk.
    void flush();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    std::optional<QVariant> readStored(const QString& key) const override;
    void writeStored(const QString& key, const QVariant& v) override;
    void removeStored(const QString& key) override;

private:
    static void clearTornLock(const QString& lockPath);
    void scheduleSync();

    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_settings;
    bool m_syncQueued = false; // guarded by m_mutex
    std::unique_ptr<SerialExecutor> m_saveQueue;
};

} // namespace valimbra
