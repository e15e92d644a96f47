#pragma once

#include "SettingsServices.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class QWindow;

namespace valimbra {

// Records the global shortcut: the next key pressed with Ctrl, Alt, Shift or Super in the
// settings window. A bare key is passed on and recording goes on; Escape cancels. While it
// records, the window holds the keyboard, so combinations that the window manager or our own
// hot key hold reach it too.
class ShortcutRecorder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(bool recording READ isRecording NOTIFY changed)
    Q_PROPERTY(bool hasShortcut READ hasShortcut NOTIFY changed)
    // "Press shortcut" while recording, "Record Shortcut" with none, else the shortcut.
    Q_PROPERTY(QString label READ label NOTIFY changed)
public:
    static constexpr int escapeKeyCode = 53;

    explicit ShortcutRecorder(const SettingsServices& services, QObject* parent = nullptr);
    ~ShortcutRecorder() override;

    bool isRecording() const { return m_recording; }
    bool hasShortcut() const;
    QString label() const;

    // The window whose keys are recorded and which takes the keyboard while recording.
    void setWindow(QWindow* window);

    // A click on the button: starts recording, or stops it leaving the shortcut as it was.
    Q_INVOKABLE void toggleRecording();
    Q_INVOKABLE void stopRecording();
    // Stores no shortcut (key code -1, no modifiers).
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void changed();

private:
    void startRecording();

    SettingsServices m_services;
    QPointer<QWindow> m_window;
    bool m_recording = false;
    quint64 m_monitor = 0;
    bool m_grabbed = false;
};

} // namespace valimbra
