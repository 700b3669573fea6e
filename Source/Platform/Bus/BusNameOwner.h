#pragma once

#include <functional>

#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace nocta {

/// Which program has a name on the session bus, now and later. Never starts one, and waits for nobody.
class BusNameOwner {
  public:
    /// Calls `onChange` from the event loop once it is known and whenever it changes; never, where the environment
    /// names no session bus.
    BusNameOwner(const QString& name, std::function<void()> onChange);
    BusNameOwner(const BusNameOwner&) = delete;
    BusNameOwner& operator=(const BusNameOwner&) = delete;
    ~BusNameOwner();

    /// The name on the bus that is its own and no other program's; empty where nobody is known to have the name.
    [[nodiscard]] const QString& get() const { return owner; }

    /// The unique name of the program that has `name` at the moment; empty if there is none. Waits for the bus, for a
    /// second at most. A peer's unique name comes from here: newer releases of Qt leave the sender of a reply empty.
    [[nodiscard]] static QString find(const QString& name);

  private:
    void become(const QString& newOwner);

    std::function<void()> onChange;
    QString owner;
    bool isKnown = false;
    QDBusServiceWatcher watcher;
    QObject context; // destroyed first: no answer comes any more
};

} // namespace nocta
