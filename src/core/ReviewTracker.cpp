#include "ReviewTracker.h"

#include <limits>

namespace valimbra {

namespace {
QString key(const char* k) {
    return QString::fromLatin1(k);
}

std::optional<Date> readDate(const SettingsStore& s, const char* k) {
    if (!s.contains(key(k)))
        return std::nullopt;
    return Date(s.doubleValue(key(k)));
}

// Counts stop at the top instead of wrapping round (a stored count may be anything).
qint64 saturatingIncrement(qint64 n) {
    return n == std::numeric_limits<qint64>::max() ? n : n + 1;
}
} // namespace

void ReviewTracker::noteFirstUse() {
    if (!m_settings.isWritten(key(firstUseDateKey)))
        m_settings.setDouble(key(firstUseDateKey), m_clock.now().secondsSinceReference());
}

void ReviewTracker::countUse() {
    noteFirstUse();
    m_settings.setInteger(key(sessionCountKey), saturatingIncrement(sessionCount()));
}

void ReviewTracker::countSwitch() {
    noteFirstUse();
    m_settings.setInteger(key(switchCountKey), saturatingIncrement(switchCount()));
}

void ReviewTracker::markPrompted() {
    m_settings.setDouble(key(lastPromptDateKey), m_clock.now().secondsSinceReference());
}

qint64 ReviewTracker::switchCount() const {
    return m_settings.integer(key(switchCountKey));
}
qint64 ReviewTracker::sessionCount() const {
    return m_settings.integer(key(sessionCountKey));
}
std::optional<Date> ReviewTracker::firstUseDate() const {
    return readDate(m_settings, firstUseDateKey);
}
std::optional<Date> ReviewTracker::lastPromptDate() const {
    return readDate(m_settings, lastPromptDateKey);
}

} // namespace valimbra
