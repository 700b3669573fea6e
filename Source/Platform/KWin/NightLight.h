#pragma once

#include "Platform/Bus/SignalReceiver.h"
#include "Platform/RunLoop.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace nocta {

/// KWin's night light in the hands of this program, over the session bus: its own course is stopped ("inhibited") for
/// as long as a temperature is asked for here, and its preview shows that one. Both end with the program's connection
/// to the bus, also when the program dies; unless it dies before KWin has come to its first question, after which its
/// own course stays stopped.
///
/// KWin moves to another temperature by itself, in steps of 50 K: in two seconds, and in a quarter of a second when it
/// has been asked for one in the last fifteen. Whenever it is asked it shows a message on the screen. It does not
/// listen to what is within a step of what it shows, not even while it is on its way to something else; and it goes
/// back to its own temperature by itself when the session becomes active or its settings are read again. So this asks
/// no more often than KWin can follow, hears what it shows, and asks again where that goes astray.
///
/// The KWin of Plasma 6 ends a preview after fifteen seconds. This asks for it anew shortly before, so that the
/// temperature stays; KWin shows its message each time.
class NightLight {
  public:
    /// Asks KWin what it shows, and waits for the answer. `loop` outlives this.
    explicit NightLight(RunLoop& loop);
    NightLight(const NightLight&) = delete;
    NightLight& operator=(const NightLight&) = delete;
    /// As `release`.
    ~NightLight();

    /// Whether there was an answer.
    [[nodiscard]] bool hasAnswered() const { return dialect != nullptr; }
    /// Whether it can change the colour of the displays.
    [[nodiscard]] bool isSupported() const { return supported; }

    /// In kelvin, from `NightTint::warmest` to `NightTint::neutral`. Of a fade's frames KWin is asked for four a
    /// second.
    void show(std::uint32_t kelvin);
    /// Asks KWin what it shows, and where that is something else, for what is wanted.
    void verify();
    /// Lets KWin take its own course, to which it moves in a quarter of a second. On return it has agreed, unless it
    /// does not answer.
    void release();

  private:
    /// What a release of KWin calls its night light on the bus.
    struct Dialect {
        const char* service;
        const char* path;
        const char* interface;
        bool hasLastingPreviews; ///< whether what it previews stays until it is asked for something else
    };
    static const std::array<Dialect, 2> dialects;

    [[nodiscard]] static QDBusMessage propertiesOf(const Dialect& dialect);
    [[nodiscard]] QDBusMessage method(const char* name) const;
    [[nodiscard]] QDBusMessage preview(std::uint32_t kelvin) const;
    [[nodiscard]] static bool areProperties(const QDBusMessage& answer);
    /// Calls back with the answer, whichever it is, unless KWin vanishes from the bus before.
    template <class Handler>
    void whenAnswered(const QDBusPendingCall& call, Handler handler);

    void propertiesDidChange(const QDBusMessage& message);
    void take(const QVariantMap& properties);
    /// KWin is there, with that unique name on the bus.
    void didAppear(const QString& name);
    void didVanish();

    /// How far that is from what is wanted, in kelvin.
    [[nodiscard]] std::uint32_t distance(std::uint32_t temperature) const;
    [[nodiscard]] bool hasArrived() const;
    /// What KWin shows has become something else.
    void didMove(std::uint32_t before);
    void ask();
    void askAgain();
    /// Keeps what KWin has been asked for beyond the end of its preview.
    void renewLater();
    /// Released within a step of its own temperature, KWin does not go that step. Waits for it, up to a second.
    void goTheLastStep();

    RunLoop& loop;
    QDBusConnection bus;
    const Dialect* dialect = nullptr;
    QString owner; ///< KWin's unique name on the bus; empty while it is not there
    bool supported = false;
    std::uint32_t current = 0; ///< in kelvin, as last heard

    std::optional<std::uint32_t> wanted;     ///< in kelvin; nothing while KWin takes its own course
    std::optional<QDBusPendingCall> holding; ///< stops that course; the answer is the number by which KWin knows it
    int unanswered = 0;                      ///< questions that may move it
    std::uint32_t asked = 0;                 ///< in kelvin; what was wanted when KWin was asked last
    std::unique_ptr<Timer> pause;            ///< until KWin can have followed
    std::unique_ptr<Timer> arrival;          ///< until KWin ought to have come nearer
    std::unique_ptr<Timer> again;            ///< until it is asked once more
    std::unique_ptr<Timer> calm;             ///< until that it had to be asked once more counts for nothing
    std::unique_ptr<Timer> renewal;          ///< until a preview is asked for anew
    Seconds retryDelay{0};

    SignalReceiver changes{[this](const QDBusMessage& message) { propertiesDidChange(message); }};
    QDBusServiceWatcher watcher;
    std::unique_ptr<QObject> context; ///< what answers are for
};

} // namespace nocta
