#include "KeyNames.h"

#include "platform/InputMonitor.h"

#include <QHash>

namespace valimbra {

namespace {

// Virtual key codes (a Mac keyboard's, used on every platform above platform/) and their names.
const QHash<qint64, QString>& namedKeys() {
    static const QHash<qint64, QString> keys = [] {
        QHash<qint64, QString> k;
        const std::pair<int, char> letters[] = {
            {0, 'A'},  {1, 'S'},  {2, 'D'},  {3, 'F'},  {4, 'H'},  {5, 'G'},  {6, 'Z'},  {7, 'X'},
            {8, 'C'},  {9, 'V'},  {11, 'B'}, {12, 'Q'}, {13, 'W'}, {14, 'E'}, {15, 'R'}, {16, 'Y'},
            {17, 'T'}, {31, 'O'}, {32, 'U'}, {34, 'I'}, {35, 'P'}, {37, 'L'}, {38, 'J'}, {40, 'K'},
            {45, 'N'}, {46, 'M'}, {18, '1'}, {19, '2'}, {20, '3'}, {21, '4'}, {23, '5'}, {22, '6'},
            {26, '7'}, {28, '8'}, {25, '9'}, {29, '0'}};
        for (const auto& [code, c] : letters)
            k.insert(code, QString(QChar::fromLatin1(c)));
        const int functionKeys[] = {122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111};
        for (int i = 0; i < 12; ++i)
            k.insert(functionKeys[i], u"F%1"_qs.arg(i + 1));
        return k;
    }();
    return keys;
}

struct Named {
    int code;
    const char16_t* pc;
    const char16_t* mac;
};
constexpr Named kSpecialKeys[] = {
    {36, u"Return", u"↩"},    {48, u"Tab", u"⇥"},   {49, u"Space", u"Space"},
    {51, u"Backspace", u"⌫"}, {123, u"Left", u"←"}, {124, u"Right", u"→"},
    {125, u"Down", u"↓"},     {126, u"Up", u"↑"},
};

struct ModifierName {
    quint64 flag;
    const char16_t* pc;
    const char16_t* mac;
};
// The display order, fixed whatever order the keys were pressed in.
constexpr ModifierName kModifiers[] = {
    {ModifierFlag::Control, u"Ctrl", u"⌃"},
    {ModifierFlag::Option, u"Alt", u"⌥"},
    {ModifierFlag::Shift, u"Shift", u"⇧"},
    {ModifierFlag::Command, u"Super", u"⌘"},
};

} // namespace

QString holdModifierName(HoldModifier modifier, KeyNaming naming) {
    if (naming == KeyNaming::Pc)
        return holdModifierSymbol(modifier, naming);
    switch (modifier) {
    case HoldModifier::option:
        return u"⌥ Option"_qs;
    case HoldModifier::control:
        return u"⌃ Control"_qs;
    case HoldModifier::command:
        return u"⌘ Command"_qs;
    }
    Q_UNREACHABLE();
}

QString holdModifierSymbol(HoldModifier modifier, KeyNaming naming) {
    const quint64 flag = holdModifierFlag(modifier);
    for (const ModifierName& m : kModifiers)
        if (m.flag == flag)
            return QString::fromUtf16(naming == KeyNaming::Pc ? m.pc : m.mac);
    Q_UNREACHABLE();
}

QString keyName(qint64 keyCode, KeyNaming naming) {
    for (const Named& k : kSpecialKeys)
        if (k.code == keyCode)
            return QString::fromUtf16(naming == KeyNaming::Pc ? k.pc : k.mac);
    return namedKeys().value(keyCode, u"?"_qs);
}

QString shortcutDisplayText(qint64 keyCode, qint64 modifiers, KeyNaming naming) {
    QString text;
    for (const ModifierName& m : kModifiers) {
        if (!(quint64(modifiers) & m.flag))
            continue;
        text += QString::fromUtf16(naming == KeyNaming::Pc ? m.pc : m.mac);
        if (naming == KeyNaming::Pc)
            text += u'+';
    }
    return text + keyName(keyCode, naming);
}

} // namespace valimbra
