#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

#include <QElapsedTimer>
#include <QObject>

class QKeyEvent;

namespace nocta {

/// Keeps from a window the keys that are not meant for it: those that were down when it got the keyboard, those that go
/// down in the half second after it appeared, while the person may still be typing elsewhere, and what a key repeats
/// while it is held.
class KeyGate : public QObject {
  public:
    /// `pressedKeys` tells which keys are down, by native scan code; none where a release is always one.
    explicit KeyGate(std::function<std::vector<std::uint32_t>()> pressedKeys) : pressedKeys(std::move(pressedKeys)) {}

    /// The window appears now.
    void begin() { sinceBegin.start(); }
    /// From now on no key comes through.
    void close() { isClosed = true; }
    void open() { isClosed = false; }

    /// For the window's events.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    static constexpr std::int64_t settlingMilliseconds = 500;

    [[nodiscard]] bool keepsOut(const QKeyEvent& event);

    std::function<std::vector<std::uint32_t>()> pressedKeys;
    QElapsedTimer sinceBegin;
    std::set<std::uint32_t> keptOut; ///< until they go up
    std::set<std::uint32_t> letIn;   ///< that are down
    bool isClosed = false;
};

} // namespace nocta
