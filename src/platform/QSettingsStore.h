#pragma once

#include "SettingsStore.h"

#include <QSettings>

#include <memory>

namespace valimbra {

// The persistent store: an INI file (by default $XDG_CONFIG_HOME/Brindlex/Valimbra.conf).
// Every write is flushed at once through QSettings' atomic save (temporary file + rename), so a
// crash or kill mid-save leaves the previous file intact.
class QSettingsStore final : public SettingsStore {
    Q_OBJECT
public:
    explicit QSettingsStore(QObject* parent = nullptr);
    explicit QSettingsStore(const QString& iniPath, QObject* parent = nullptr);
    ~QSettingsStore() override;

    QString fileName() const;
    static QString defaultPath();

protected:
    std::optional<QVariant> readStored(const QString& key) const override;
    void writeStored(const QString& key, const QVariant& v) override;
    void removeStored(const QString& key) override;

private:
    static void clearTornLock(const QString& lockPath);

    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_settings;
};

} // namespace valimbra
