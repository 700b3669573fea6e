#pragma once

#include "Core/Signal.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

#include <functional>
#include <memory>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariantMap>

namespace nocta {

/// `org.nocta.Nocta1`: Nocta in the hands of other programs. What they may do is what a person may do in the popover,
/// with the same consequences; what a person could not pick is answered with an error that says what can be, and
/// changes nothing. Main thread only.
class RemoteControl final : public QDBusVirtualObject {
  public:
    /// What the program does as a whole.
    struct Actions {
        std::function<void()> cyclePreset;
        std::function<void()> openPopover;
    };

    /// Changes of properties are announced on `bus`, which need not be connected, at the next turn of the run loop.
    /// Whoever owns the object on that bus hands its calls to `handleMessage`. The platform is installed and outlives
    /// this.
    RemoteControl(QDBusConnection bus, Actions actions);
    RemoteControl(const RemoteControl&) = delete;
    RemoteControl& operator=(const RemoteControl&) = delete;
    ~RemoteControl() override;

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    struct Method;

    [[nodiscard]] std::vector<Method> makeMethods() const;
    /// The reply, or an invalid message where nothing of that name is known.
    [[nodiscard]] QDBusMessage answer(const QDBusMessage& message) const;
    [[nodiscard]] static QDBusMessage answerProperties(const QDBusMessage& message);
    void announceLater();
    void announce();

    QDBusConnection bus;
    Actions actions;
    std::vector<Method> methods;
    /// What the world was last told; empty until the first turn of the run loop.
    QVariantMap announced;
    std::vector<Subscription> subscriptions;
    std::unique_ptr<WorkspaceObserver> frontObserver;
    std::unique_ptr<Timer> announcement;
};

} // namespace nocta
