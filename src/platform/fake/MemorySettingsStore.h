#pragma once

#include "platform/SettingsStore.h"

#include <QHash>

namespace valimbra {

// An in-memory store for tests and the demo mode.
class MemorySettingsStore final : public SettingsStore {
    Q_OBJECT
public:
    using SettingsStore::SettingsStore;
    int writeCount() const; // how many writes reached the store (tests check "nothing is written")

protected:
    std::optional<QVariant> readStored(const QString& key) const override;
    void writeStored(const QString& key, const QVariant& v) override;
    void removeStored(const QString& key) override;

private:
    mutable QMutex m_mutex;
    QHash<QString, QVariant> m_values;
    int m_writes = 0;
};

} // namespace valimbra
