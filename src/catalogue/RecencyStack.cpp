#include "RecencyStack.h"

#include <QtGlobal>

#include <limits>

namespace valimbra {

namespace {

// UTF-16 code-unit order puts U+E000..U+FFFF after supplementary characters; shifting the unit
// values this way restores code-point order without decoding surrogate pairs.
inline char16_t codePointOrderKey(char16_t u) {
    if (u >= 0xE000)
        return char16_t(u - 0x800);
    if (u >= 0xD800)
        return char16_t(u + 0x2000);
    return u;
}

int compareCodePoints(QStringView a, QStringView b) {
    const qsizetype n = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t ka = codePointOrderKey(a[i].unicode());
        const char16_t kb = codePointOrderKey(b[i].unicode());
        if (ka != kb)
            return ka < kb ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool isAscii(const QString& s) {
    for (const QChar c : s)
        if (c.unicode() >= 0x80)
            return false;
    return true;
}

} // namespace

int comparePlainStrings(const QString& a, const QString& b) {
    if (a == b)
        return 0;
    if (isAscii(a) && isAscii(b))
        return compareCodePoints(a, b);
    return compareCodePoints(a.normalized(QString::NormalizationForm_C),
                             b.normalized(QString::NormalizationForm_C));
}

RecencyStack::RecencyStack(SettingsStore& store, const Scheduler& clock, SerialExecutor& saveQueue)
    : m_store(store)
    , m_clock(clock)
    , m_saveQueue(saveQueue) {
    load();
}

void RecencyStack::load() {
    const auto data = m_store.data(persistenceKey());
    if (!data)
        return;
    auto decoded = json::decodeRecency(*data);
    if (!decoded)
        return; // an unreadable record starts an empty history; the next save replaces it
    m_record = std::move(*decoded);

    // Only recency fades: an app unused for a month keeps its count, so it still ranks above
    // apps never used at all.
    const Date cutoff = m_clock.now().addSeconds(-pruneAge);
    m_record.timestamps.removeIf(
        [&](QHash<QString, Date>::iterator it) { return !(it.value() > cutoff); });
}

void RecencyStack::recordActivation(const QString& bundleID) {
    m_record.timestamps.insert(bundleID, m_clock.now());
    qint64& count = m_record.counts[bundleID];
    if (count == std::numeric_limits<qint64>::max())
        qFatal("[Valimbra] Activation count of %s overflowed", qPrintable(bundleID));
    ++count;
    save();
}

void RecencyStack::save() {
    // The copy is taken here, on the main thread; the queue only ever sees this snapshot.
    RecencySnapshot snapshot = m_record;
    SettingsStore* store = &m_store;
    m_saveQueue.submit([snapshot = std::move(snapshot), store] {
        if (const auto data = json::encodeRecency(snapshot))
            store->setData(persistenceKey(), *data);
    });
}

bool RecencyStack::precedes(const AppEntry& a, const AppEntry& b) const {
    const Date da = lastActivated(a.bundleID);
    const Date db = lastActivated(b.bundleID);
    if (da != db)
        return da > db;
    const qint64 ca = activationCount(a.bundleID);
    const qint64 cb = activationCount(b.bundleID);
    if (ca != cb)
        return ca > cb;
    return comparePlainStrings(a.name, b.name) < 0;
}

Date RecencyStack::lastActivated(const QString& bundleID) const {
    return m_record.timestamps.value(bundleID, Date::distantPast());
}

qint64 RecencyStack::activationCount(const QString& bundleID) const {
    return m_record.counts.value(bundleID, 0);
}

} // namespace valimbra
