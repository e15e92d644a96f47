#include "XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>

namespace valimbra::x11 {

XdgAutostart::XdgAutostart(QString entryName, QString command)
    : m_entryName(std::move(entryName))
    , m_command(std::move(command)) {}

QString XdgAutostart::filePath() const {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/autostart/"_qs + m_entryName + u".desktop"_qs;
}

QString XdgAutostart::execValue(const QString& program) {
    static const QString reserved = u" \t\n\"'\\><~|&;$*?#()`"_qs;
    if (std::none_of(program.begin(), program.end(), [](QChar c) { return reserved.contains(c); }))
        return program;
    QString quoted = u"\""_qs;
    for (const QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    // In a desktop file's string values a backslash is itself escaped once more.
    quoted.replace(u"\\"_qs, u"\\\\"_qs);
    return quoted + u'"';
}

bool XdgAutostart::isEnabled() const {
    const QString path = filePath();
    if (!QFileInfo::exists(path))
        return false;
    // A session may keep the file and switch it off instead of deleting it.
    QSettings entry(path, QSettings::IniFormat);
    entry.beginGroup(u"Desktop Entry"_qs);
    const bool hidden = entry.value(u"Hidden"_qs).toString() == u"true";
    const bool off = entry.value(u"X-GNOME-Autostart-enabled"_qs).toString() == u"false";
    return !hidden && !off;
}

bool XdgAutostart::setEnabled(bool enabled) {
    const QString path = filePath();
    if (!enabled)
        return !QFileInfo::exists(path) || QFile::remove(path);
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path); // created with the user's umask, replaced atomically
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QString text =
        u"[Desktop Entry]\n"
        u"Type=Application\n"
        u"Name=Valimbra\n"
        u"Comment=Switch between applications from a ring around the pointer\n"
        u"Exec=%1\n"
        u"Icon=%2\n"
        u"Terminal=false\n"
        u"X-GNOME-Autostart-enabled=true\n"_qs.arg(execValue(m_command), m_entryName);
    file.write(text.toUtf8());
    return file.commit();
}

} // namespace valimbra::x11
