#include "Characters.h"

namespace valimbra::search {

std::size_t CharTable::memoryUsage() const {
    std::size_t bytes = std::size_t(m_codes.capacity()) * 2;
    for (auto it = m_codes.constBegin(); it != m_codes.constEnd(); ++it)
        bytes += 32 + 32 + std::size_t(it.key().size()) * 2;
    return bytes;
}

} // namespace valimbra::search
