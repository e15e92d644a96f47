#pragma once

#include "FirstRun.h"
#include "platform/Platform.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

class QQuickView;
class QQuickWindow;

namespace valimbra {

class OnboardingRingDemo;

// The welcome on the first launch: a floating 480 x 520 panel centred on the screen under the
// pointer that names the product, demonstrates the ring, says which key to hold and offers one
// button. Its completion runs exactly once, whichever way the panel goes (the button, the close
// button, the window manager closing it). A later showing builds a new panel.
class ValimbraOnboardingWindowController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the running program")
    Q_PROPERTY(QString holdHint READ holdHint CONSTANT)
    Q_PROPERTY(bool dark READ isDark CONSTANT)
    Q_PROPERTY(bool composited READ isComposited CONSTANT)
public:
    static constexpr int width = 480;
    static constexpr int height = 520;
    static constexpr int fadeInMs = 320;

    explicit ValimbraOnboardingWindowController(const Platform& platform,
                                                QObject* parent = nullptr);
    ~ValimbraOnboardingWindowController() override;

    // The first-launch check: on the very first launch records that the welcome was shown, then
    // shows it. Returns whether it did.
    bool showIfFirstLaunch(std::function<void()> completion);
    // Shows the panel; while one is shown, brings it forward instead and drops `completion`.
    void show(std::function<void()> completion);
    // Takes the panel away without running the completion.
    void dismiss();

    bool isShown() const { return bool(m_view); }
    QQuickWindow* window() const;
    OnboardingRingDemo* demo() const { return m_demo.get(); }

    // "Hold Ctrl to open": the stored hold key, Control when absent or unknown.
    static QString holdHintText(const SettingsStore& settings);
    QString holdHint() const { return holdHintText(*m_platform.settings); }
    bool isDark() const { return m_dark; }
    bool isComposited() const { return m_composited; }

    // "Start Using Valimbra": the panel goes, then the completion runs.
    Q_INVOKABLE void continueRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createWindow();
    void releaseWindow();
    void bringToFront();

    Platform m_platform;
    std::unique_ptr<OnboardingRingDemo> m_demo;
    std::unique_ptr<QQuickView> m_view;
    std::optional<CompletionOnce> m_completion;
    bool m_dark = false;
    bool m_composited = true;
};

} // namespace valimbra
