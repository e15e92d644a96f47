#include "ShortcutRecorder.h"

#include "GeneralPaneModel.h"
#include "catalogue/KeyNames.h"
#include "platform/InputMonitor.h"
#include "platform/SettingsStore.h"

#include <QWindow>

namespace valimbra {

ShortcutRecorder::ShortcutRecorder(const SettingsServices& services, QObject* parent)
    : QObject(parent)
    , m_services(services) {
    connect(m_services.settings, &SettingsStore::changed, this, [this](const QString& key) {
        if (key == GeneralPaneModel::recordedKeyCodeKey ||
            key == GeneralPaneModel::recordedModifiersKey)
            Q_EMIT changed();
    });
}

ShortcutRecorder::~ShortcutRecorder() {
    stopRecording();
}

bool ShortcutRecorder::hasShortcut() const {
    return m_services.settings->integer(GeneralPaneModel::recordedKeyCodeKey, -1) >= 0;
}

QString ShortcutRecorder::label() const {
    if (m_recording)
        return u"Press shortcut"_qs;
    const SettingsStore& s = *m_services.settings;
    const qint64 keyCode = s.integer(GeneralPaneModel::recordedKeyCodeKey, -1);
    if (keyCode < 0)
        return u"Record Shortcut"_qs;
    return shortcutDisplayText(
        keyCode, std::max<qint64>(0, s.integer(GeneralPaneModel::recordedModifiersKey)));
}

void ShortcutRecorder::setWindow(QWindow* window) {
    m_window = window;
}

void ShortcutRecorder::toggleRecording() {
    if (m_recording)
        stopRecording();
    else
        startRecording();
}

void ShortcutRecorder::startRecording() {
    m_recording = true;
    QPointer<ShortcutRecorder> self(this);
    m_monitor = m_services.input->addLocalMonitor(
        EventMask::KeyDown, [self](const InputEvent& e) -> std::optional<InputEvent> {
            if (!self || !self->m_recording)
                return e;
            if (e.keyCode == escapeKeyCode) {
                self->stopRecording();
                return std::nullopt;
            }
            const quint64 modifiers = e.modifierFlags & ModifierFlag::DeviceIndependentMask;
            if (modifiers == 0)
                return e; // a bare key is never a shortcut: it goes on to the window
            SettingsStore& s = *self->m_services.settings;
            s.setInteger(GeneralPaneModel::recordedModifiersKey, qint64(modifiers));
            s.setInteger(GeneralPaneModel::recordedKeyCodeKey, e.keyCode);
            self->stopRecording();
            return std::nullopt;
        });
    // Combinations the window manager or our own hot key grab would otherwise never arrive.
    if (m_window && m_window->setKeyboardGrabEnabled(true)) {
        m_grabbed = true;
        m_window->setProperty(keyboardGrabProperty, true);
    }
    Q_EMIT changed();
}

void ShortcutRecorder::stopRecording() {
    if (m_monitor) {
        m_services.input->removeMonitor(m_monitor);
        m_monitor = 0;
    }
    if (m_grabbed) {
        m_grabbed = false;
        if (m_window) {
            m_window->setKeyboardGrabEnabled(false);
            m_window->setProperty(keyboardGrabProperty, false);
        }
    }
    if (m_recording) {
        m_recording = false;
        Q_EMIT changed();
    }
}

void ShortcutRecorder::clear() {
    SettingsStore& s = *m_services.settings;
    s.setInteger(GeneralPaneModel::recordedModifiersKey, 0);
    s.setInteger(GeneralPaneModel::recordedKeyCodeKey, -1);
}

} // namespace valimbra
