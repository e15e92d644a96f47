#include "MemorySettingsStore.h"

#include <QMutexLocker>

namespace valimbra {

int MemorySettingsStore::writeCount() const {
    QMutexLocker lock(&m_mutex);
    return m_writes;
}

std::optional<QVariant> MemorySettingsStore::readStored(const QString& key) const {
    QMutexLocker lock(&m_mutex);
    auto it = m_values.constFind(key);
    if (it == m_values.cend())
        return std::nullopt;
    return *it;
}

void MemorySettingsStore::writeStored(const QString& key, const QVariant& v) {
    QMutexLocker lock(&m_mutex);
    m_values.insert(key, v);
    ++m_writes;
}

void MemorySettingsStore::removeStored(const QString& key) {
    QMutexLocker lock(&m_mutex);
    m_values.remove(key);
    ++m_writes;
}

} // namespace valimbra
