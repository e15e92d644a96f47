#pragma once

#include "platform/LoginItem.h"

#include <QString>

namespace valimbra::x11 {

// Start at login through an XDG autostart entry ($XDG_CONFIG_HOME/autostart/<name>.desktop),
// which every freedesktop session honours.
class XdgAutostart final : public LoginItem {
public:
    // `entryName` is the desktop id of the installed entry, which also names its icon; `command`
    // is the program to start (an absolute path, or a name on PATH).
    XdgAutostart(QString entryName, QString command);

    bool isEnabled() const override;
    bool setEnabled(bool enabled) override;

    QString filePath() const;
    // The Exec= value that runs `program` with no arguments, quoted as desktop entries require.
    static QString execValue(const QString& program);

private:
    QString m_entryName;
    QString m_command;
};

} // namespace valimbra::x11
