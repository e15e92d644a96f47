#pragma once

#include <QDateTime>

#include <compare>

namespace valimbra {

// A point in time as seconds since 2001-01-01T00:00:00Z. Persisted dates use this encoding so
// stored records stay interchangeable with the other desktop builds of Valimbra.
class Date {
public:
    constexpr Date() = default;
    constexpr explicit Date(double secondsSinceReference)
        : m_seconds(secondsSinceReference) {}

    // 0001-01-01T00:00:00Z, the "never" that sorts before every real date.
    static constexpr Date distantPast() { return Date(-63114076800.0); }
    static constexpr double unixOffset() { return 978307200.0; } // 2001-01-01 in Unix seconds

    static Date fromUnixSeconds(double s) { return Date(s - unixOffset()); }
    static Date fromDateTime(const QDateTime& dt) {
        return Date(double(dt.toMSecsSinceEpoch()) / 1000.0 - unixOffset());
    }
    QDateTime toDateTime() const {
        return QDateTime::fromMSecsSinceEpoch(qint64((m_seconds + unixOffset()) * 1000.0), Qt::UTC);
    }

    constexpr double secondsSinceReference() const { return m_seconds; }
    constexpr Date addSeconds(double s) const { return Date(m_seconds + s); }

    constexpr auto operator<=>(const Date&) const = default;

private:
    double m_seconds = -63114076800.0;
};

} // namespace valimbra
