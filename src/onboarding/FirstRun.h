#pragma once

#include <QString>

#include <functional>
#include <utility>

namespace valimbra {

class SettingsStore;

// The welcome is shown once per user: the flag is written before anything is shown, so a crash
// or a kill during the welcome never shows it again.
class FirstRun {
public:
    static inline const QString seenKey = QStringLiteral("valimbra.hasSeenOnboarding");

    // True once, on the first launch, having recorded that it happened.
    static bool begin(SettingsStore& settings);
};

// Runs a completion at most once, whichever way the welcome ends (its button, its close button,
// the window going away).
class CompletionOnce {
public:
    explicit CompletionOnce(std::function<void()> completion)
        : m_completion(std::move(completion)) {}
    void operator()() {
        if (auto c = std::exchange(m_completion, nullptr))
            c();
    }
    bool done() const { return !m_completion; }

private:
    std::function<void()> m_completion;
};

} // namespace valimbra
