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

std::string show(const std::optional<QByteArray>& b) {
    return b ? b->toStdString() : std::string("<nothing>");
}

} // namespace

// ---- What the macOS encoder writes, byte for byte ---------------------------------------------

TEST(JsonEncoding, KnownFavouriteIsWrittenExactlyAsTheMacEncoderWritesIt) {
    const QByteArray expected =
        R"([{"bundleID":"debian-xterm","name":"XTerm","appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop"}])";
    EXPECT_EQ(show(encodePinnedApps({kXterm})), expected.toStdString());
    EXPECT_EQ(show(encodePinnedApps({})), "[]");
}

TEST(JsonEncoding, IgnoredAppWritesAppURLOnlyWhenKnown) {
    const QList<IgnoredApp> apps{{u"wmclass.xclock"_qs, u"xclock"_qs, std::nullopt},
                                 {u"debian-xterm"_qs, u"XTerm"_qs, kXtermURL}};
    EXPECT_EQ(
        show(encodeIgnoredApps(apps)),
        R"([{"bundleID":"wmclass.xclock","name":"xclock"},{"bundleID":"debian-xterm","name":"XTerm","appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop"}])");
}

TEST(JsonEncoding, RecencyRecordIsCompactWithMapsInBundleIdOrder) {
    RecencySnapshot s;
    s.timestamps.insert(u"org.gnome.Nautilus"_qs, Date(800000000.25));
    s.timestamps.insert(u"debian-xterm"_qs, Date(799999999));
    s.counts.insert(u"org.gnome.Nautilus"_qs, 12);
    s.counts.insert(u"debian-xterm"_qs, 3);
    EXPECT_EQ(
        show(encodeRecency(s)),
        R"({"timestamps":{"debian-xterm":799999999,"org.gnome.Nautilus":800000000.25},"counts":{"debian-xterm":3,"org.gnome.Nautilus":12}})");
    EXPECT_EQ(show(encodeRecency({})), R"({"timestamps":{},"counts":{}})");
}

namespace {

struct EscapeCase {
    const char* name; // UTF-8
    const char* written;
};

class JsonStringEscaping : public ::testing::TestWithParam<EscapeCase> {};

void PrintTo(const EscapeCase& c, std::ostream* os) {
    *os << c.written;
}

} // namespace

TEST_P(JsonStringEscaping, FollowsTheMacEncoderRules) {
    const IgnoredApp app{u"id"_qs, QString::fromUtf8(GetParam().name), std::nullopt};
    const std::string expected =
        std::string(R"([{"bundleID":"id","name":")") + GetParam().written + R"("}])";
    EXPECT_EQ(show(encodeIgnoredApps({app})), expected);
    // And it reads back as the same text.
    const auto decoded = decodeIgnoredApps(QByteArray::fromStdString(expected));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->front().name, app.name);
}

INSTANTIATE_TEST_SUITE_P(
    Strings, JsonStringEscaping,
    ::testing::Values(EscapeCase{"a/b", R"(a\/b)"}, EscapeCase{"say \"hi\"", R"(say \"hi\")"},
                      EscapeCase{"back\\slash", R"(back\\slash)"},
                      EscapeCase{"tab\there\nline\rcr", R"(tab\there\nline\rcr)"},
                      EscapeCase{"\b\f", R"(\b\f)"},
                      EscapeCase{"\x01\x1f", R"(\u0001\u001f)"}, // lower-case hex
                      EscapeCase{"del\x7f", "del\x7f"},          // not a control to JSON
                      EscapeCase{"Caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac",
                                 "Caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac"}, // raw UTF-8
                      EscapeCase{"\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80"}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

namespace {

struct NumberCase {
    double value;
    const char* written;
};

class JsonNumberFormat : public ::testing::TestWithParam<NumberCase> {};

void PrintTo(const NumberCase& c, std::ostream* os) {
    *os << c.written;
}

} // namespace

TEST_P(JsonNumberFormat, MatchesTheMacEncoderLayout) {
    EXPECT_EQ(show(formatNumber(GetParam().value)), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    Doubles, JsonNumberFormat,
    ::testing::Values(NumberCase{800000000.0, "800000000"},             // whole: no ".0"
                      NumberCase{800000000.25, "800000000.25"},         // reference-date seconds
                      NumberCase{700000000.123456, "700000000.123456"}, //
                      NumberCase{-63114076800.0, "-63114076800"},       // the distant past
                      NumberCase{0.1, "0.1"}, NumberCase{0.0001, "0.0001"},
                      NumberCase{0.00001, "1e-05"}, NumberCase{1.5e-7, "1.5e-07"},
                      NumberCase{9007199254740992.0, "9007199254740992"}, // 2^53: still decimal
                      NumberCase{9007199254740994.0, "9.007199254740994e+15"},
                      NumberCase{1e16, "1e+16"}, NumberCase{1e100, "1e+100"},
                      NumberCase{5e-324, "5e-324"},
                      NumberCase{1.7976931348623157e308, "1.7976931348623157e+308"},
                      NumberCase{0.0, "0"}, NumberCase{-0.0, "-0"},
                      NumberCase{123456.789, "123456.789"}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST(JsonNumberFormat, ShortestFormReadsBackToTheSameDouble) {
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
    RecencySnapshot nan;
    nan.timestamps.insert(u"a"_qs, Date(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(encodeRecency(nan).has_value());
    RecencySnapshot inf;
    inf.timestamps.insert(u"a"_qs, Date(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(encodeRecency(inf).has_value());

    const QString loneSurrogate(QChar(0xD800));
    EXPECT_FALSE(encodePinnedApps({{loneSurrogate, u"X"_qs, kXtermURL}}).has_value());
    EXPECT_FALSE(encodeIgnoredApps({{u"x"_qs, loneSurrogate, std::nullopt}}).has_value());
    EXPECT_FALSE(encodePinnedApps({{u"x"_qs, u"X"_qs, QUrl()}}).has_value()) << "appURL required";
}

// ---- Reading what the macOS encoder wrote -------------------------------------------------

class MacWrittenFavourites : public ::testing::TestWithParam<const char*> {};

TEST_P(MacWrittenFavourites, DecodeToTheSameRecord) {
    const auto apps = decodePinnedApps(QByteArray(GetParam()));
    ASSERT_TRUE(apps.has_value()) << GetParam();
    ASSERT_EQ(apps->size(), 1);
    EXPECT_EQ(apps->front(), kXterm);
}

INSTANTIATE_TEST_SUITE_P(
    Blobs, MacWrittenFavourites,
    ::testing::Values(
        // Swift's dictionary order is not the declaration order, so any member order occurs.
        R"([{"appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop","name":"XTerm","bundleID":"debian-xterm"}])",
        R"([{"name":"XTerm","bundleID":"debian-xterm","appURL":"file:///usr/share/applications/debian-xterm.desktop"}])",
        "[\n  {\n    \"bundleID\" : \"debian-xterm\",\n    \"name\" : \"X\\u0054erm\",\n    "
        "\"appURL\" : \"file:\\/\\/\\/usr\\/share\\/applications\\/debian-xterm.desktop\"\n  }\n]",
        // Members a later version might add are ignored.
        R"([{"bundleID":"debian-xterm","name":"XTerm","appURL":"file:\/\/\/usr\/share\/applications\/debian-xterm.desktop","addedAt":800000000.5}])"));

TEST(MacWrittenRecency, FractionalReferenceDateSecondsDecodeExactly) {
    const auto s = decodeRecency(
        R"({"counts":{"debian-xterm":7,"org.gnome.Nautilus":1},"timestamps":{"debian-xterm":799999990.123456,"org.gnome.Nautilus":800000000}})");
    ASSERT_TRUE(s.has_value());
    EXPECT_EQ(s->timestamps.value(u"debian-xterm"_qs).secondsSinceReference(), 799999990.123456);
    EXPECT_EQ(s->timestamps.value(u"org.gnome.Nautilus"_qs).secondsSinceReference(), 800000000.0);
    EXPECT_EQ(s->counts.value(u"debian-xterm"_qs), 7);
    EXPECT_EQ(s->counts.value(u"org.gnome.Nautilus"_qs), 1);
}

TEST(JsonRoundTrip, ListsWithAwkwardTextAndPathsSurviveEncodeDecode) {
    const QList<PinnedApp> pinned{
        kXterm,
        {u"org.example.Caf\u00e9"_qs, u"Caf\u00e9 \"Deluxe\" / 2"_qs,
         QUrl::fromLocalFile(u"/opt/My Apps/caf\u00e9.desktop"_qs)},
        {u"wmclass.\U0001F600"_qs, u"line\nbreak\ttab"_qs,
         QUrl::fromLocalFile(u"/home/u/.local/share/applications/x%y.desktop"_qs)}};
    const auto data = encodePinnedApps(pinned);
    ASSERT_TRUE(data.has_value());
    EXPECT_TRUE(data->contains(R"(file:\/\/\/opt\/My%20Apps\/caf%C3%A9.desktop)"))
        << "URLs are stored in their absolute, percent-encoded form";
    EXPECT_EQ(decodePinnedApps(*data), pinned);

    const QList<IgnoredApp> ignored{{u"a"_qs, u"A"_qs, std::nullopt},
                                    {u"b"_qs, u"B"_qs, pinned[1].appURL}};
    EXPECT_EQ(decodeIgnoredApps(encodeIgnoredApps(ignored).value()), ignored);

    RecencySnapshot s;
    s.timestamps.insert(u"a"_qs, Date(800000000.987654321));
    s.counts.insert(u"a"_qs, std::numeric_limits<qint64>::max());
    s.counts.insert(u"never-dated"_qs, 4);
    EXPECT_EQ(decodeRecency(encodeRecency(s).value()), s);
}

// ---- Strictness: anything but the expected shape decodes as nothing ----------------------

namespace {

struct BadBlob {
    const char* what;
    const char* json;
};

class CorruptFavouritesBlob : public ::testing::TestWithParam<BadBlob> {};

void PrintTo(const BadBlob& b, std::ostream* os) {
    *os << b.what;
}

} // namespace

TEST_P(CorruptFavouritesBlob, DecodesAsNothing) {
    EXPECT_FALSE(decodePinnedApps(QByteArray(GetParam().json)).has_value()) << GetParam().what;
}

const BadBlob kBadFavourites[] = {
    {"empty", ""},
    {"not JSON", "bplist00\xd1\x01"},
    {"truncated", R"([{"bundleID":"a","name":"A")"},
    {"trailing garbage", R"([] [])"},
    {"object instead of array", R"({"bundleID":"a","name":"A","appURL":"file:\/\/\/a"})"},
    {"lacks appURL", R"([{"bundleID":"a","name":"A"}])"},
    {"null appURL", R"([{"bundleID":"a","name":"A","appURL":null}])"},
    {"lacks name", R"([{"bundleID":"a","appURL":"file:\/\/\/a"}])"},
    {"number bundleID", R"([{"bundleID":1,"name":"A","appURL":"file:\/\/\/a"}])"},
    {"array name", R"([{"bundleID":"a","name":["A"],"appURL":"file:\/\/\/a"}])"},
    {"number appURL", R"([{"bundleID":"a","name":"A","appURL":7}])"},
    {"empty appURL", R"([{"bundleID":"a","name":"A","appURL":""}])"},
    {"appURL not a URL", R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a b"}])"},
    {"appURL bad escape", R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a%zz"}])"},
    {"one good, one not an object", R"([{"bundleID":"a","name":"A","appURL":"file:\/\/\/a"},"b"])"},
    {"unpaired surrogate", R"([{"bundleID":"\ud800","name":"A","appURL":"file:\/\/\/a"}])"},
};
INSTANTIATE_TEST_SUITE_P(Blobs, CorruptFavouritesBlob, ::testing::ValuesIn(kBadFavourites));

class CorruptRecencyBlob : public ::testing::TestWithParam<BadBlob> {};

TEST_P(CorruptRecencyBlob, DecodesAsNothing) {
    EXPECT_FALSE(decodeRecency(QByteArray(GetParam().json)).has_value()) << GetParam().what;
}

const BadBlob kBadRecency[] = {
    {"not JSON", "recency"},
    {"array", R"([{"timestamps":{},"counts":{}}])"},
    {"lacks counts", R"({"timestamps":{"a":800000000}})"},
    {"lacks timestamps", R"({"counts":{"a":1}})"},
    {"timestamps as array", R"({"timestamps":[800000000],"counts":{}})"},
    {"date as string", R"({"timestamps":{"a":"2026-05-01T10:00:00Z"},"counts":{}})"},
    {"fractional count", R"({"timestamps":{},"counts":{"a":2.5}})"},
    {"count as string", R"({"timestamps":{},"counts":{"a":"2"}})"},
    {"count beyond 64 bits", R"({"timestamps":{},"counts":{"a":9223372036854775808}})"},
};
INSTANTIATE_TEST_SUITE_P(Blobs, CorruptRecencyBlob, ::testing::ValuesIn(kBadRecency));
