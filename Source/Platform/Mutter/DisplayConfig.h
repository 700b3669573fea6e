#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

namespace nocta {

/// `org.gnome.Mutter.DisplayConfig` on the session bus, which has mutter's displays: only its CRTCs and their gamma
/// ramps here. Main thread only. Whatever fails, or makes no sense, gives nothing.
///
/// Every call names the serial of the resources that it is based on, and is refused when that is no longer the newest.
class DisplayConfig {
  public:
    struct Crtc {
        std::uint32_t id = 0;
        bool isActive = false;
        std::string name; ///< of the connectors that show it, clones with a plus between them
    };
    struct Resources {
        std::uint32_t serial = 0;
        std::vector<Crtc> crtcs;
    };
    /// All entries of red, then of green, then of blue; empty where the CRTC has no gamma ramp.
    using Ramps = std::vector<std::uint16_t>;

    /// How a call may end.
    enum class Outcome {
        done,
        refused,   ///< by mutter, or its answer makes no sense
        unanswered ///< there is no mutter, or it hangs
    };

    /// Answers come, and changes are told, from the event loop, and not any more once this is destroyed: `onChange`
    /// when the displays have changed, `onNewSession`, with the name of that, when a mutter has come to serve the bus.
    DisplayConfig(std::function<void()> onChange, std::function<void(const std::string&)> onNewSession);
    DisplayConfig(const DisplayConfig&) = delete;
    DisplayConfig& operator=(const DisplayConfig&) = delete;
    ~DisplayConfig() = default;

    /// Waits, like everything that has a `patience`, so long at most.
    [[nodiscard]] std::optional<Resources> resources(std::chrono::milliseconds patience) const;
    void askResources(std::function<void(std::optional<Resources>)> onAnswer);

    [[nodiscard]] std::optional<Ramps> ramps(std::uint32_t serial, std::uint32_t crtc,
                                             std::chrono::milliseconds patience) const;
    void askRamps(std::uint32_t serial, std::uint32_t crtc, std::function<void(Outcome, Ramps)> onAnswer);

    /// `ramps` must have the size of those that the CRTC has: not every mutter checks that.
    [[nodiscard]] Outcome setRamps(std::uint32_t serial, std::uint32_t crtc, const Ramps& ramps,
                                   std::chrono::milliseconds patience) const;
    void sendRamps(std::uint32_t serial, std::uint32_t crtc, const Ramps& ramps, std::function<void(Outcome)> onAnswer);

    /// A name for this bus and the mutter on it, which no other pair of them has. Nothing where there is no mutter.
    [[nodiscard]] std::optional<std::string> sessionName(std::chrono::milliseconds patience);
    /// This process's own name on the bus.
    [[nodiscard]] std::string clientName() const;
    [[nodiscard]] bool isConnected(const std::string& clientName, std::chrono::milliseconds patience) const;

  private:
    void ask(const QDBusMessage& call, std::function<void(const QDBusMessage&)> onAnswer);

    QDBusConnection bus;
    std::string busId;
    QTimer changes; ///< the signals of one turn of the loop are one change
    QDBusServiceWatcher owners;
    QObject context; // destroyed first: no answer comes any more
};

} // namespace nocta
