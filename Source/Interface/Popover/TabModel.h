#pragma once

#include "Core/Property.h"
#include "Core/Signal.h"

#include <vector>

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace nocta {

/// What stands behind one tab of the popover. It outlives the items that bind to it. Main thread only.
class TabModel : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    /// Whether somebody sees the tab: it is the chosen one and the popover is open.
    Q_PROPERTY(bool onScreen READ isOnScreen NOTIFY onScreenChanged FINAL)

  public:
    [[nodiscard]] bool isOnScreen() const { return onScreen; }
    void setOnScreen(bool newOnScreen);

  Q_SIGNALS:
    void onScreenChanged();

  protected:
    TabModel() = default;

    /// The tab comes on the screen. What it shows is brought up to date here.
    virtual void appear() = 0;
    /// It leaves the screen. What runs only for those who see it ends here.
    virtual void disappear() = 0;

    /// Hands every assignment to `property` on as `changed`, a signal of the derived class.
    template <class Model, class Value>
    void forward(Property<Value>& property, void (Model::*changed)()) {
        watch(property, [this, changed](const Value&) { Q_EMIT(static_cast<Model*>(this)->*changed)(); });
    }
    template <class Value, class Callback>
    void watch(Property<Value>& property, Callback callback) {
        keep(property.observe(std::move(callback)));
    }
    /// For as long as this object lives.
    void keep(Subscription subscription) { subscriptions.push_back(std::move(subscription)); }

  private:
    bool onScreen = false;
    std::vector<Subscription> subscriptions;
};

} // namespace nocta
