#include "catalogue/JsonCoding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

using namespace valimbra;
using namespace valimbra::json;

namespace {

const QUrl kXtermURL(u"file:///usr/share/applications/debian-xterm.desktop"_qs);
const PinnedApp kXterm{u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL};
#define XTERM                                                                                      \
    R"({"bundleID":"debian-xterm","name":"XTerm",)"                                                \
    R"("appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop"})"

std::string show(const std::optional<QByteArray>& b) {
    return b ? b->toStdString() : std::string("<nothing>");
}

TEST(JsonEncoding, KnownRecordsAreWrittenExactlyAsTheMacEncoderWritesThemAndReadBack) {
    EXPECT_EQ(show(encodePinnedApps({kXterm})), "[" XTERM "]");
    EXPECT_EQ(show(encodePinnedApps({})), "[]");
    // An ignored app writes "appURL" only when it is known.
    const QList<IgnoredApp> ignored{{u"wmclass.xclock"_qs, u"xclock"_qs, std::nullopt},
                                    {u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL}};
    const char* ignoredJson = R"([{"bundleID":"wmclass.xclock","name":"xclock"},)" XTERM "]";
    EXPECT_EQ(show(encodeIgnoredApps(ignored)), ignoredJson);
    EXPECT_EQ(decodeIgnoredApps(ignoredJson), ignored);
    // Recency is compact, with both maps in bundle ID order; a count needs no timestamp.
    RecencySnapshot s;
    s.timestamps.insert(u"org.gnome.Nautilus"_qs, Date(800000000.25));
    s.timestamps.insert(u"debian-xterm"_qs, Date(799999990.123456));
    s.counts.insert(u"org.gnome.Nautilus"_qs, 12);
    s.counts.insert(u"debian-xterm"_qs, std::numeric_limits<qint64>::max());
    s.counts.insert(u"never-dated"_qs, 4);
    const char* recencyJson =
        R"({"timestamps":{"debian-xterm":799999990.123456,"org.gnome.Nautilus":800000000.25},)"
        R"("counts":{"debian-xterm":9223372036854775807,"never-dated":4,"org.gnome.Nautilus":12}})";
    EXPECT_EQ(show(encodeRecency(s)), recencyJson);
    EXPECT_EQ(decodeRecency(recencyJson), s);
    EXPECT_EQ(show(encodeRecency({})), R"({"timestamps":{},"counts":{}})");
    // URLs are stored in their absolute, percent-encoded form.
    const QList<PinnedApp> awkward{
        {u"x"_qs, u"X"_qs, QUrl::fromLocalFile(u"/opt/My Apps/caf\u00e9 x%y.desktop"_qs)}};
    const auto data = encodePinnedApps(awkward);
    ASSERT_TRUE(data.has_value());
    EXPECT_TRUE(data->contains(R"(file:\/\/\/opt\/My%20Apps\/caf%C3%A9%20x%25y.desktop)"));
    EXPECT_EQ(decodePinnedApps(*data), awkward);
}

TEST(JsonEncoding, StringsAreEscapedAsTheMacEncoderDoesAndReadBack) {
    const std::pair<const char*, const char*> cases[] = {
        // UTF-8 text, as written
        {"a/b", R"(a\/b)"},
        {"say \"hi\" back\\slash", R"(say \"hi\" back\\slash)"},
        {"\t\n\r\b\f", R"(\t\n\r\b\f)"},
        {"\x01\x1f", R"(\u0001\u001f)"}, // lower-case hex
        {"del\x7f", "del\x7f"},          // not a control to JSON
        {"Caf\xc3\xa9 \xe6\x97\xa5 \xf0\x9f\x98\x80", "Caf\xc3\xa9 \xe6\x97\xa5 \xf0\x9f\x98\x80"}};
    for (const auto& [text, written] : cases) {
        const IgnoredApp app{u"id"_qs, QString::fromUtf8(text), std::nullopt};
        const std::string expected =
            std::string(R"([{"bundleID":"id","name":")") + written + R"("}])";
        EXPECT_EQ(show(encodeIgnoredApps({app})), expected);
        EXPECT_EQ(decodeIgnoredApps(QByteArray::fromStdString(expected)), QList<IgnoredApp>{app});
    }
}

TEST(JsonNumberFormat, MatchesTheMacEncoderLayoutAndTheShortestFormReadsBack) {
    // Whole numbers lose ".0", 2^53 is still decimal, -63114076800 is the distant past.
    using N = std::pair<double, const char*>;
    for (const auto& [value, written] :
         {N{800000000.0, "800000000"}, N{800000000.25, "800000000.25"},
          N{700000000.123456, "700000000.123456"}, N{-63114076800.0, "-63114076800"},
          N{0.0001, "0.0001"}, N{0.00001, "1e-05"}, N{9007199254740992.0, "9007199254740992"},
          N{9007199254740994.0, "9.007199254740994e+15"}, N{1e16, "1e+16"}, N{5e-324, "5e-324"},
          N{1.7976931348623157e308, "1.7976931348623157e+308"}, N{0.0, "0"}, N{-0.0, "-0"}})
        EXPECT_EQ(show(formatNumber(value)), written);

    std::mt19937_64 rng(20010101);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = rng();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        if (!std::isfinite(d))
            continue;
        const auto text = formatNumber(d);
        ASSERT_TRUE(text.has_value());
        ASSERT_EQ(std::strtod(text->constData(), nullptr), d) << text->constData();
    }
}

TEST(JsonEncoding, UnrepresentableValuesFailTheWholeDocument) {
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        RecencySnapshot s;
        s.timestamps.insert(u"a"_qs, Date(bad));
        EXPECT_FALSE(encodeRecency(s).has_value()) << bad;
    }
    const QString loneSurrogate(QChar(0xD800));
    EXPECT_FALSE(encodePinnedApps({{loneSurrogate, u"X"_qs, kXtermURL}}).has_value());
    EXPECT_FALSE(encodeIgnoredApps({{u"x"_qs, loneSurrogate, std::nullopt}}).has_value());
    EXPECT_FALSE(encodePinnedApps({{u"x"_qs, u"X"_qs, QUrl()}}).has_value()) << "appURL required";
}

TEST(JsonDecoding, WhatTheMacEncoderWroteDecodesToTheSameRecord) {
    // Swift's dictionary order is not the declaration order, so members come in any order;
    // members a later version might add are ignored.
    const char* const blobs[] = {
        R"([{"appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop","name":"XTerm","bundleID":"debian-xterm"}])",
        R"([{"name":"XTerm","bundleID":"debian-xterm","appURL":"file:///usr/share/applications/debian-xterm.desktop"}])",
        "[\n  {\n    \"bundleID\" : \"debian-xterm\",\n    \"name\" : \"X\\u0054erm\",\n    "
        "\"appURL\" : \"file:\\/\\/\\/usr\\/share\\/applications\\/debian-xterm.desktop\"\n  }\n]",
        R"([{"bundleID":"debian-xterm","name":"XTerm","appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop","addedAt":800000000.5}])"};
    for (const char* blob : blobs)
        EXPECT_EQ(decodePinnedApps(blob), QList<PinnedApp>{kXterm}) << blob;
    EXPECT_EQ(decodeIgnoredApps(R"([{"bundleID":"b","name":"B","appURL":null}])"),
              (QList<IgnoredApp>{{u"b"_qs, u"B"_qs, std::nullopt}}))
        << "a null appURL is an unknown one";
}

TEST(JsonDecoding, AnythingButTheExpectedShapeDecodesAsNothing) {
    for (const char* blob :
         {"", "not json", R"([] [])", R"({"bundleID":"a","name":"A"})",
          R"([{"bundleID":"a","name":"A"}])", R"([{"bundleID":"a","name":"A","appURL":null}])",
          R"([{"bundleID":"a","appURL":"file:\/\/\/a"}])",
          R"([{"bundleID":1,"name":"A","appURL":"file:\/\/\/a"}])",
          R"([{"bundleID":"a","name":"A","appURL":""}])",
          R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a b"}])",
          R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a%zz"}])",
          R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a"},"b"])",
          R"([{"bundleID":"\ud800","name":"A","appURL":"file:\/\/\/a"}])"})
        EXPECT_FALSE(decodePinnedApps(blob).has_value()) << blob;
    // An ignored app's "appURL" may be missing or null, but nothing else.
    for (const char* blob :
         {"\x01garbage\xff", R"([{"bundleID":"a"}])", R"([{"bundleID":"a","name":42}])",
          R"([{"bundleID":"a","name":"A","appURL":false}])"})
        EXPECT_FALSE(decodeIgnoredApps(blob).has_value()) << blob;
    for (const char* blob :
         {"{{{", "[]", R"({"timestamps":{"a":800000000}})", R"({"counts":{"a":1}})",
          R"({"timestamps":[800000000],"counts":{}})", R"({"timestamps":{},"counts":{"a":2.5}})",
          R"({"timestamps":{"a":"yesterday"},"counts":{}})",
          R"({"timestamps":{},"counts":{"a":"2"}})",
          R"({"timestamps":{},"counts":{"a":9223372036854775808}})"})
        EXPECT_FALSE(decodeRecency(blob).has_value()) << blob;
}

} // namespace
