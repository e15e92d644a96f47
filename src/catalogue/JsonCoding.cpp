#include "JsonCoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace valimbra::json {

// ---- Writing ---------------------------------------------------------------------------------

void Writer::beforeValue() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_firstInContainer.empty()) {
        if (!m_firstInContainer.back())
            m_out += ',';
        m_firstInContainer.back() = false;
    }
}

void Writer::beginArray() {
    beforeValue();
    m_out += '[';
    m_firstInContainer.push_back(true);
}

void Writer::endArray() {
    m_firstInContainer.pop_back();
    m_out += ']';
}

void Writer::beginObject() {
    beforeValue();
    m_out += '{';
    m_firstInContainer.push_back(true);
}

void Writer::endObject() {
    m_firstInContainer.pop_back();
    m_out += '}';
}

void Writer::key(const QString& name) {
    beforeValue();
    writeString(name);
    m_out += ':';
    m_afterKey = true;
}

void Writer::string(const QString& value) {
    beforeValue();
    writeString(value);
}

void Writer::integer(qint64 value) {
    beforeValue();
    m_out += QByteArray::number(value);
}

void Writer::number(double value) {
    beforeValue();
    if (auto text = formatNumber(value))
        m_out += *text;
    else
        m_failed = true;
}

std::optional<QByteArray> Writer::result() const {
    if (m_failed)
        return std::nullopt;
    return m_out;
}

void Writer::writeString(const QString& s) {
    // An unpaired surrogate has no UTF-8 form; writing a replacement character would silently
    // change a bundle ID, so refuse the whole document instead.
    if (!QStringView(s).isValidUtf16()) {
        m_failed = true;
        return;
    }
    static constexpr char hex[] = "0123456789abcdef";
    const QByteArray utf8 = s.toUtf8();
    m_out.reserve(m_out.size() + utf8.size() + 2);
    m_out += '"';
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            m_out += "\\\"";
            break;
        case '\\':
            m_out += "\\\\";
            break;
        case '/':
            m_out += "\\/";
            break;
        case '\b':
            m_out += "\\b";
            break;
        case '\f':
            m_out += "\\f";
            break;
        case '\n':
            m_out += "\\n";
            break;
        case '\r':
            m_out += "\\r";
            break;
        case '\t':
            m_out += "\\t";
            break;
        default:
            if (c < 0x20) {
                m_out += "\\u00";
                m_out += hex[c >> 4];
                m_out += hex[c & 0xf];
            } else {
                m_out += ch; // non-ASCII stays raw UTF-8
            }
        }
    }
    m_out += '"';
}

std::optional<QByteArray> formatNumber(double value) {
    if (!std::isfinite(value))
        return std::nullopt;
    if (value == 0.0)
        return QByteArray(std::signbit(value) ? "-0" : "0");

    // Shortest round-trip digits, then laid out the way the macOS encoder lays them out.
    char buf[48];
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific);
    std::string_view sci(buf, size_t(res.ptr - buf)); // [-]d[.ddd]e±XX
    const bool negative = sci.front() == '-';
    if (negative)
        sci.remove_prefix(1);
    const size_t ePos = sci.find('e');
    std::string_view mantissa = sci.substr(0, ePos);
    QByteArray digits;
    digits += mantissa.front();
    if (mantissa.size() > 2)
        digits.append(mantissa.data() + 2, qsizetype(mantissa.size() - 2));
    std::string_view expText = sci.substr(ePos + 1);
    const bool expNegative = expText.front() == '-';
    if (expText.front() == '-' || expText.front() == '+')
        expText.remove_prefix(1);
    int exponent = 0;
    std::from_chars(expText.data(), expText.data() + expText.size(), exponent);
    if (expNegative)
        exponent = -exponent;

    QByteArray out;
    if (negative)
        out += '-';
    const auto count = int(digits.size());
    if (exponent < -4 || std::fabs(value) > 0x1p53) {
        out += digits.front();
        if (count > 1) {
            out += '.';
            out += digits.mid(1);
        }
        out += 'e';
        out += exponent < 0 ? '-' : '+';
        const int magnitude = std::abs(exponent);
        if (magnitude < 10)
            out += '0';
        out += QByteArray::number(magnitude);
    } else if (exponent < 0) {
        out += "0.";
        out += QByteArray(-exponent - 1, '0');
        out += digits;
    } else if (exponent + 1 < count) {
        out += digits.left(exponent + 1);
        out += '.';
        out += digits.mid(exponent + 1);
    } else {
        // A whole number: the encoder drops the ".0" its number formatting would add.
        out += digits;
        out += QByteArray(exponent + 1 - count, '0');
    }
    return out;
}

QString urlString(const QUrl& url) {
    return url.toString(QUrl::FullyEncoded);
}

std::optional<QUrl> parseUrl(const QString& text) {
    if (text.isEmpty())
        return std::nullopt;
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;
    return url;
}

// ---- Reading ---------------------------------------------------------------------------------

namespace {

std::optional<QJsonDocument> parse(const QByteArray& data) {
    QJsonParseError error{};
    QJsonDocument doc = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || doc.isNull())
        return std::nullopt;
    return doc;
}

std::optional<QString> stringValue(const QJsonValue& v) {
    if (!v.isString())
        return std::nullopt;
    QString s = v.toString();
    if (!QStringView(s).isValidUtf16()) // "\ud800" alone is not text
        return std::nullopt;
    return s;
}

std::optional<qint64> integerValue(const QJsonValue& v) {
    if (!v.isDouble())
        return std::nullopt;
    const QVariant var = v.toVariant();
    if (var.typeId() == QMetaType::LongLong)
        return var.toLongLong();
    const double d = v.toDouble();
    if (std::isfinite(d) && std::trunc(d) == d && d >= -0x1p63 && d < 0x1p63)
        return qint64(d);
    return std::nullopt;
}

template <typename Record, typename DecodeOne>
std::optional<QList<Record>> decodeArray(const QByteArray& data, DecodeOne decodeOne) {
    const auto doc = parse(data);
    if (!doc || !doc->isArray())
        return std::nullopt;
    const QJsonArray array = doc->array();
    QList<Record> out;
    out.reserve(array.size());
    for (const QJsonValue& element : array) {
        if (!element.isObject())
            return std::nullopt;
        auto record = decodeOne(element.toObject());
        if (!record)
            return std::nullopt;
        out.append(std::move(*record));
    }
    return out;
}

const QString kBundleID = QStringLiteral("bundleID");
const QString kName = QStringLiteral("name");
const QString kAppURL = QStringLiteral("appURL");
const QString kTimestamps = QStringLiteral("timestamps");
const QString kCounts = QStringLiteral("counts");

template <typename Value>
QList<QString> sortedKeys(const QHash<QString, Value>& map) {
    QList<QString> keys = map.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

} // namespace

// Favourites and ignored apps are stored as records of one shape; a favourite's URL is required,
// an ignored app's is written only when known. An invalid URL fails the whole save.
template <typename App, typename UrlOf>
std::optional<QByteArray> encodeAppRecords(const QList<App>& apps, UrlOf urlOf) {
    Writer w;
    w.beginArray();
    for (const App& app : apps) {
        const std::optional<QUrl> url = urlOf(app);
        if (url && !url->isValid())
            return std::nullopt;
        w.beginObject();
        w.key(kBundleID);
        w.string(app.bundleID);
        w.key(kName);
        w.string(app.name);
        if (url) {
            w.key(kAppURL);
            w.string(urlString(*url));
        }
        w.endObject();
    }
    w.endArray();
    return w.result();
}

std::optional<QByteArray> encodePinnedApps(const QList<PinnedApp>& apps) {
    return encodeAppRecords(apps, [](const PinnedApp& app) { return std::optional(app.appURL); });
}

std::optional<QList<PinnedApp>> decodePinnedApps(const QByteArray& data) {
    return decodeArray<PinnedApp>(data, [](const QJsonObject& o) -> std::optional<PinnedApp> {
        auto bundleID = stringValue(o.value(kBundleID));
        auto name = stringValue(o.value(kName));
        auto urlText = stringValue(o.value(kAppURL));
        if (!bundleID || !name || !urlText)
            return std::nullopt;
        auto url = parseUrl(*urlText);
        if (!url)
            return std::nullopt;
        return PinnedApp{*bundleID, *name, *url};
    });
}

std::optional<QByteArray> encodeIgnoredApps(const QList<IgnoredApp>& apps) {
    return encodeAppRecords(apps, [](const IgnoredApp& app) { return app.appURL; });
}

std::optional<QList<IgnoredApp>> decodeIgnoredApps(const QByteArray& data) {
    return decodeArray<IgnoredApp>(data, [](const QJsonObject& o) -> std::optional<IgnoredApp> {
        auto bundleID = stringValue(o.value(kBundleID));
        auto name = stringValue(o.value(kName));
        if (!bundleID || !name)
            return std::nullopt;
        IgnoredApp app{*bundleID, *name, std::nullopt};
        const QJsonValue urlValue = o.value(kAppURL);
        if (!urlValue.isUndefined() && !urlValue.isNull()) {
            auto urlText = stringValue(urlValue);
            if (!urlText)
                return std::nullopt;
            app.appURL = parseUrl(*urlText);
            if (!app.appURL)
                return std::nullopt;
        }
        return app;
    });
}

std::optional<QByteArray> encodeRecency(const RecencySnapshot& snapshot) {
    Writer w;
    w.beginObject();
    w.key(kTimestamps);
    w.beginObject();
    for (const QString& id : sortedKeys(snapshot.timestamps)) {
        w.key(id);
        w.number(snapshot.timestamps.value(id).secondsSinceReference());
    }
    w.endObject();
    w.key(kCounts);
    w.beginObject();
    for (const QString& id : sortedKeys(snapshot.counts)) {
        w.key(id);
        w.integer(snapshot.counts.value(id));
    }
    w.endObject();
    w.endObject();
    return w.result();
}

std::optional<RecencySnapshot> decodeRecency(const QByteArray& data) {
    const auto doc = parse(data);
    if (!doc || !doc->isObject())
        return std::nullopt;
    const QJsonObject root = doc->object();
    const QJsonValue timestamps = root.value(kTimestamps);
    const QJsonValue counts = root.value(kCounts);
    if (!timestamps.isObject() || !counts.isObject())
        return std::nullopt;

    RecencySnapshot snapshot;
    const QJsonObject t = timestamps.toObject();
    for (auto it = t.begin(); it != t.end(); ++it) {
        if (!it.value().isDouble() || !QStringView(it.key()).isValidUtf16())
            return std::nullopt;
        snapshot.timestamps.insert(it.key(), Date(it.value().toDouble()));
    }
    const QJsonObject c = counts.toObject();
    for (auto it = c.begin(); it != c.end(); ++it) {
        const auto n = integerValue(it.value());
        if (!n || !QStringView(it.key()).isValidUtf16())
            return std::nullopt;
        snapshot.counts.insert(it.key(), *n);
    }
    return snapshot;
}

} // namespace valimbra::json
