#pragma once

#include <QObject>
#include <QPointF>
#include <QtQml/qqmlregistration.h>

#include <chrono>

namespace valimbra {

class Scheduler;
class WorkItem;

// The welcome's demonstration of the ring: tiles fan out one after another, stay, fold back, and
// again. The loop runs on the scheduler so that it stops with the window and tests drive it on a
// virtual clock; the view binds to `shown` and animates each tile to tilePosition(i).
class OnboardingRingDemo : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the welcome window")
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
    Q_PROPERTY(int maxSlots MEMBER maxSlots CONSTANT)
    Q_PROPERTY(double radius MEMBER radius CONSTANT)
    Q_PROPERTY(double canvas MEMBER canvas CONSTANT)
    Q_PROPERTY(double tileW MEMBER tileW CONSTANT)
    Q_PROPERTY(double tileH MEMBER tileH CONSTANT)
    Q_PROPERTY(double cornerR MEMBER cornerR CONSTANT)
    Q_PROPERTY(double kStep MEMBER kStep CONSTANT)
public:
    // Sized for the 480-wide welcome: the ring and its tiles in a 232-point square, seven tiles
    // so that the fan-out reads as a sequence.
    static constexpr int maxSlots = 7;
    static constexpr double radius = 82;
    static constexpr double canvas = 232;
    static constexpr double tileW = 46;
    static constexpr double tileH = 46;
    static constexpr double cornerR = 12;
    static constexpr double kStep = 0.07; // seconds between one tile and the next

    static constexpr std::chrono::milliseconds firstWait{500};
    static constexpr std::chrono::milliseconds shownFor{2800};
    static constexpr std::chrono::milliseconds foldedFor{800};

    explicit OnboardingRingDemo(Scheduler& scheduler, QObject* parent = nullptr);
    ~OnboardingRingDemo() override;

    bool isShown() const { return m_shown; }
    bool isRunning() const { return m_running; }

    // Where tile i sits when shown, from the canvas centre: i × 360 / maxSlots degrees round
    // the ring, the first at the top.
    Q_INVOKABLE QPointF tilePosition(int index) const;

    void start();
    void stop();

Q_SIGNALS:
    void shownChanged();

private:
    void step(bool show);

    Scheduler& m_scheduler;
    std::shared_ptr<WorkItem> m_next;
    bool m_shown = false;
    bool m_running = false;
};

} // namespace valimbra
