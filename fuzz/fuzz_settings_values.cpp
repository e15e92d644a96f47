// The settings as the program reads them: every key it uses, holding whatever a hand-edited or
// damaged settings file can hold (a string where a number belongs, NaN, the integer limits,
// lists, byte arrays), read through the store's typed reads and through every reader above it
// (styles, hold key, shortcut, delays, review counters, the pane asked for).
//
// An input starting with '[' is an INI file, read by the real store from disk; anything else is
// a list of typed values put into the in-memory store, where the readers that write back (the
// review counters, the first-run flag, the pane request) run too.

#include "FuzzSupport.h"

#include "catalogue/HoldModifier.h"
#include "catalogue/IgnoreListManager.h"
#include "catalogue/PinnedAppsManager.h"
#include "catalogue/RecencyStack.h"
#include "catalogue/SwitcherStyle.h"
#include "core/HoldKeyMonitor.h"
#include "core/HotKeyRegistration.h"
#include "core/InvokeModeSwitch.h"
#include "core/ReviewTracker.h"
#include "onboarding/FirstRun.h"
#include "onboarding/ValimbraOnboardingWindowController.h"
#include "platform/QSettingsStore.h"
#include "platform/fake/FakeHotKeys.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeScheduler.h"
#include "platform/fake/MemorySettingsStore.h"
#include "settings/AppearancePaneModel.h"
#include "settings/GeneralPaneModel.h"
#include "settings/SettingsNavigation.h"
#include "settings/SettingsServices.h"
#include "settings/ShortcutRecorder.h"

#include <QStringList>
#include <QVariant>

#include <bit>
#include <limits>

using namespace valimbra;
using valimbra::fuzz::require;

namespace {

const QStringList& keys() {
    static const QStringList all = {
        switcherStyleKey,
        animationStyleKey,
        QString(holdModifierSettingsKey),
        GeneralPaneModel::invokeModeKey,
        GeneralPaneModel::recordedKeyCodeKey,
        GeneralPaneModel::recordedModifiersKey,
        GeneralPaneModel::middleMouseKey,
        GeneralPaneModel::tabDwellKey,
        GeneralPaneModel::tabDwellDelayKey,
        SettingsNavigation::requestedPaneKey,
        FirstRun::seenKey,
        QString::fromLatin1(ReviewTracker::switchCountKey),
        QString::fromLatin1(ReviewTracker::sessionCountKey),
        QString::fromLatin1(ReviewTracker::firstUseDateKey),
        QString::fromLatin1(ReviewTracker::lastPromptDateKey),
        PinnedAppsManager::sortAlphabeticallyKey(),
        PinnedAppsManager::storageKey(),
        IgnoreListManager::storageKey(),
        RecencyStack::persistenceKey(),
    };
    return all;
}

// Texts that read as numbers or flags only half-way, tried often enough to matter.
const char* const kTrickyTexts[] = {
    "",
    " ",
    "0",
    "-1",
    "1e300",
    "-1e300",
    "nan",
    "inf",
    "-inf",
    "0x10",
    " 42 ",
    "true",
    "FALSE",
    "yes",
    "2.5",
    "1e-320",
    "9223372036854775807",
    "9223372036854775808",
    "-9223372036854775809",
    "4294967296",
    "18446744073709551616",
    "spatialTile",
    "control",
    "shortcut",
    "General",
    "@Invalid()",
};

// Reads the input as typed values, one per key in turn, until it runs out. Per key: a tag byte
// (its low bits the type, its top bit "registered default" instead of "written"), then the value.
class ValueReader {
public:
    struct Value {
        QVariant value;
        bool asDefault = false;
    };

    explicit ValueReader(const QByteArray& input)
        : m_input(input) {}

    std::optional<Value> next() {
        if (m_at >= m_input.size())
            return std::nullopt;
        const quint8 tag = byte();
        const bool asDefault = tag & 0x80;
        switch (tag & 0x7) {
        case 0:
            return Value{QVariant(), asDefault};
        case 1:
            return Value{QVariant(bool(byte() & 1)), asDefault};
        case 2:
            return Value{QVariant(qlonglong(raw())), asDefault};
        case 3:
            return Value{QVariant(std::bit_cast<double>(raw())), asDefault};
        case 4:
            return Value{QVariant(QString::fromUtf8(counted())), asDefault};
        case 5:
            return Value{QVariant(counted()), asDefault};
        case 6: {
            const QString first = QString::fromUtf8(counted());
            return Value{QVariant(QStringList{first, QString::fromUtf8(counted())}), asDefault};
        }
        default:
            return Value{
                QVariant(QString::fromLatin1(kTrickyTexts[byte() % std::size(kTrickyTexts)])),
                asDefault};
        }
    }

private:
    quint8 byte() { return m_at < m_input.size() ? quint8(m_input[m_at++]) : 0; }
    quint64 raw() {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i)
            value |= quint64(byte()) << (8 * i);
        return value;
    }
    QByteArray counted() {
        const quint8 length = byte();
        const QByteArray out = m_input.mid(m_at, length);
        m_at += out.size();
        return out;
    }

    const QByteArray& m_input;
    qsizetype m_at = 0;
};

// Writes a value through the setter of its type, as the program does; the registration layer
// is the only way in for other types, which QSettings hands back when a file holds them.
void put(SettingsStore& store, QVariantMap& defaults, const QString& key,
         const ValueReader::Value& v) {
    if (v.asDefault) {
        defaults.insert(key, v.value);
        return;
    }
    switch (v.value.typeId()) {
    case QMetaType::Bool:
        store.setBool(key, v.value.toBool());
        break;
    case QMetaType::LongLong:
        store.setInteger(key, v.value.toLongLong());
        break;
    case QMetaType::Double:
        store.setDouble(key, v.value.toDouble());
        break;
    case QMetaType::QString:
        store.setString(key, v.value.toString());
        break;
    case QMetaType::QByteArray:
        store.setData(key, v.value.toByteArray());
        break;
    case QMetaType::UnknownType:
        store.remove(key);
        break;
    default:
        defaults.insert(key, v.value);
    }
}

// Every typed read of every key, with the fallbacks the program passes.
void typedReads(const SettingsStore& s) {
    for (const QString& key : keys()) {
        (void)s.contains(key);
        (void)s.isWritten(key);
        (void)s.boolValue(key, false);
        (void)s.boolValue(key, true);
        (void)s.integer(key, 0);
        (void)s.integer(key, -1);
        (void)s.doubleValue(key, 0.0);
        (void)s.doubleValue(key, 0.5);
        (void)s.string(key);
        (void)s.data(key);
    }
}

// What the overlay, the settings panes, the welcome and the engine's start make of the values.
void readers(SettingsStore& s) {
    const SwitcherStyle style = effectiveSwitcherStyle(s.string(switcherStyleKey));
    require(switcherStyleFromRaw(rawValue(style)) == style);
    const std::optional<QString> storedAnimation =
        s.isWritten(animationStyleKey) ? s.string(animationStyleKey) : std::nullopt;
    const AnimationStyle animation = effectiveAnimationStyle(style, storedAnimation);
    require(!label(animation, style).isEmpty() && !description(style).isEmpty());

    if (auto raw = s.string(QString(holdModifierSettingsKey)))
        if (auto modifier = holdModifierFromRaw(*raw))
            require(holdModifierRawValue(*modifier) == *raw && holdModifierFlag(*modifier) != 0);

    require(!invokeHintText(s).isEmpty());
    require(!ValimbraOnboardingWindowController::holdHintText(s).isEmpty());

    SettingsServices services;
    services.settings = &s;
    {
        GeneralPaneModel general(services);
        (void)general.invokeMode();
        (void)general.holdModifier();
        (void)general.shortcutAvailable();
        (void)general.middleMouseEnabled();
        (void)general.tabDwellEnabled();
        (void)general.tabDwellDelay();
        (void)general.hintText();
        AppearancePaneModel appearance(services);
        (void)appearance.activeStyle();
        (void)appearance.description();
        (void)appearance.animationStyle();
        (void)appearance.animationOptions();
        ShortcutRecorder recorder(services);
        (void)recorder.hasShortcut();
        require(!recorder.label().isEmpty());
    }

    FakeScheduler clock;
    const ReviewTracker review(s, clock);
    (void)review.switchCount();
    (void)review.sessionCount();
    (void)review.firstUseDate();
    (void)review.lastPromptDate();

    // The invoke path the program takes at start. A recorded key code beyond 32 bits or negative
    // modifiers stop the program on purpose; left out so the rest keeps being fuzzed.
    const bool shortcut =
        s.string(InvokeModeSwitch::invokeModeKey).value_or(QStringLiteral("hold")) == u"shortcut";
    const qint64 keyCode = s.integer(InvokeModeSwitch::recordedKeyCodeKey);
    const qint64 modifiers = s.integer(InvokeModeSwitch::recordedModifiersKey);
    if (!shortcut || keyCode < 0 ||
        (keyCode <= qint64(std::numeric_limits<quint32>::max()) && modifiers >= 0)) {
        FakeInputMonitor input;
        FakeHotKeys hotKeys;
        HoldKeyMonitor hold(input, clock);
        if (auto raw = s.string(QString(holdModifierSettingsKey)))
            if (auto modifier = holdModifierFromRaw(*raw))
                hold.setModifier(*modifier);
        HotKeyRegistration hotKey(hotKeys, clock);
        InvokeModeSwitch invokeMode(s, hold, hotKey);
        invokeMode.apply();
        invokeMode.applyIfChanged();
        // Exactly one path is live.
        require((invokeMode.activePath() == InvokeModeSwitch::Path::Shortcut) ==
                (hotKeys.registrations().size() == 1));
    }

    PinnedAppsManager pinned(s);
    (void)pinned.sortAlphabetically();
}

// The readers that write back: counters, the once-only flag.
void writers(SettingsStore& s) {
    FakeScheduler clock;
    ReviewTracker review(s, clock);
    review.countUse();
    review.countSwitch();
    review.markPrompted();
    require(review.firstUseDate().has_value() && review.lastPromptDate().has_value());
    const bool first = FirstRun::begin(s);
    require(!(first && FirstRun::begin(s))); // once only
}

void fromMemory(const QByteArray& input) {
    MemorySettingsStore store;
    // Made first, so the values below reach them as changes, as edits do in the running program.
    FakeScheduler scheduler;
    SettingsNavigation navigation(store, scheduler);
    SettingsServices services;
    services.settings = &store;
    GeneralPaneModel general(services);

    ValueReader reader(input);
    QVariantMap defaults;
    for (const QString& key : keys()) {
        const auto next = reader.next();
        if (!next)
            break;
        put(store, defaults, key, *next);
    }
    store.registerDefaults(defaults);
    navigation.consumeRequest(); // as the window does when it shows
    scheduler.advance(std::chrono::seconds(1));

    typedReads(store);
    readers(store);
    writers(store);
    typedReads(store);
}

void fromIniFile(const QByteArray& input) {
    static const QString path = fuzz::scratchDir() + QStringLiteral("/Valimbra.conf");
    if (!fuzz::writeFile(path, input))
        return;
    QSettingsStore store(path);
    typedReads(store);
    readers(store);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    // Values in the file may be images, cursors, fonts (QSettings' "@Variant(...)"), which
    // need the GUI application the program has.
    fuzz::startGuiApplication();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The settings file has no size limit; libFuzzer's -max_len keeps runs short.
    const QByteArray input = fuzz::bytes(data, size);
    if (input.startsWith('['))
        fromIniFile(input);
    else
        fromMemory(input);
    return 0;
}
