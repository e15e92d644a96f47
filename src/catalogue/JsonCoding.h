#pragma once

#include "PinnedApp.h"
#include "platform/Date.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <cstdio>
#include <optional>
#include <vector>

namespace valimbra {

// The persisted form of the recency record: last activation and activation count per bundle ID.
struct RecencySnapshot {
    QHash<QString, Date> timestamps;
    QHash<QString, qint64> counts;
    bool operator==(const RecencySnapshot&) const = default;
};

// Reading and writing the JSON blobs kept in the settings store. The output is byte-for-byte what
// the macOS build's JSON encoder writes with default settings (compact, "\/" for slashes, non-ASCII
// as raw UTF-8, doubles in shortest round-trip form), so a settings file can move between the two.
// Decoding is strict about shape and types: anything else decodes as nothing, never as a partial
// list.
namespace json {

// A compact JSON writer with the macOS encoder's string and number rules. A value it cannot
// represent (a non-finite number, a string with unpaired surrogates) makes the whole output fail.
class Writer {
public:
    void beginArray();
    void endArray();
    void beginObject();
    void endObject();
    // The member name for the next value inside an object.
    void key(const QString& name);
    void string(const QString& value);
    void integer(qint64 value);
    void number(double value);

    bool failed() const { return m_failed; }
    // The document written so far, or nothing when any value could not be encoded.
    std::optional<QByteArray> result() const;

private:
    void beforeValue();
    void writeString(const QString& s);

    QByteArray m_out;
    std::vector<bool> m_firstInContainer;
    bool m_afterKey = false;
    bool m_failed = false;
};

// A finite double as the macOS encoder writes it: the shortest digits that read back to the same
// value, in decimal for magnitudes from 1e-4 up to 2^53 and in exponent form otherwise, without a
// trailing ".0" ("800000000", "0.5", "1e-05", "1e+16"). Nothing for NaN and infinities.
std::optional<QByteArray> formatNumber(double value);

// A URL as stored: its absolute, fully percent-encoded string form.
QString urlString(const QUrl& url);
// A stored URL string read back; nothing when it is empty or not a valid URL.
std::optional<QUrl> parseUrl(const QString& text);

// [{"bundleID":…,"name":…,"appURL":…},…]; "appURL" is required.
std::optional<QByteArray> encodePinnedApps(const QList<PinnedApp>& apps);
std::optional<QList<PinnedApp>> decodePinnedApps(const QByteArray& data);

// As above, with "appURL" written only when known and read as optional (null counts as absent).
std::optional<QByteArray> encodeIgnoredApps(const QList<IgnoredApp>& apps);
std::optional<QList<IgnoredApp>> decodeIgnoredApps(const QByteArray& data);

// Encodes a list whole; when that fails, drops the records that cannot be written on their own
// (an unpaired surrogate in a name, say), says so in one line, and encodes the rest. One bad
// record must not make every later save of its list fail.
template <typename Record>
std::optional<QByteArray>
encodeDroppingUnwritable(QList<Record>& records,
                         std::optional<QByteArray> (*encode)(const QList<Record>&),
                         const char* listName) {
    if (auto data = encode(records))
        return data;
    QList<Record> kept;
    for (const Record& r : std::as_const(records))
        if (encode(QList<Record>{r}))
            kept.append(r);
    if (kept.size() != records.size()) {
        std::printf("[Valimbra] %d record(s) of the %s could not be saved and were dropped.\n",
                    int(records.size() - kept.size()), listName);
        std::fflush(stdout);
    }
    records = std::move(kept);
    return encode(records);
}

// {"timestamps":{id: seconds since 2001},"counts":{id: integer}}; members of the two maps are
// written in bundle-ID order so equal records give equal bytes.
std::optional<QByteArray> encodeRecency(const RecencySnapshot& snapshot);
std::optional<RecencySnapshot> decodeRecency(const QByteArray& data);

} // namespace json
} // namespace valimbra
