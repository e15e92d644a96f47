#pragma once

#include "platform/InputMonitor.h"

#include <QObject>

#include <memory>

namespace valimbra::x11 {

class X11Connection;

// Global monitors on XInput2 raw events selected on the root window (delivered only while none
// of our windows has the focus, so no event reaches both kinds); local monitors through an
// application event filter on our own windows. Modifier flags are tracked from the raw key
// stream with the server's modifier map, so each event carries the flags that held when it
// happened, however late the GUI thread reads it.
class X11InputMonitor final : public QObject, public InputMonitor {
    Q_OBJECT
public:
    explicit X11InputMonitor(X11Connection& x, QObject* parent = nullptr);
    ~X11InputMonitor() override;

    MonitorToken addGlobalMonitor(quint64 eventMask, GlobalHandler handler) override;
    MonitorToken addLocalMonitor(quint64 eventMask, LocalHandler handler) override;
    void removeMonitor(MonitorToken token) override;
    quint64 currentModifierFlags() const override;

    // The characters a key produces with only Shift and Caps Lock applied (empty for keys
    // that produce none).
    QString charactersFor(quint32 xKeycode, quint64 modifierFlags) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace valimbra::x11
