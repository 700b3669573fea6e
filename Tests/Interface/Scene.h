#pragma once

#include "Interface/Quick.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <QAccessible>
#include <QByteArray>
#include <QCoreApplication>
#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QUrl>
#include <QVariantMap>

namespace nocta::test {

/// What stands in a window and says of itself who it is, as screen readers see it.
class AccessibleItem {
  public:
    explicit AccessibleItem(QAccessibleInterface* interface = nullptr) : interface(interface) {}

    explicit operator bool() const { return interface != nullptr; }
    [[nodiscard]] std::string name() const { return interface->text(QAccessible::Name).toStdString(); }
    [[nodiscard]] QAccessible::Role role() const { return interface->role(); }
    [[nodiscard]] QAccessible::State state() const { return interface->state(); }
    [[nodiscard]] bool isChecked() const { return state().checked; }
    [[nodiscard]] bool isFocused() const { return item()->hasActiveFocus(); }
    [[nodiscard]] std::string description() const { return interface->text(QAccessible::Description).toStdString(); }
    /// Not a number where it has none.
    [[nodiscard]] double value() const {
        auto* const number = interface->valueInterface();
        return number != nullptr ? number->currentValue().toDouble() : std::numeric_limits<double>::quiet_NaN();
    }
    void act(const QString& action) const { interface->actionInterface()->doAction(action); }
    [[nodiscard]] QStringList actions() const { return interface->actionInterface()->actionNames(); }
    /// On the screen, in logical pixels.
    [[nodiscard]] QRect frame() const { return interface->rect(); }
    [[nodiscard]] QQuickItem* item() const { return qobject_cast<QQuickItem*>(interface->object()); }

    /// All that can be seen below this, in the order of a screen reader.
    [[nodiscard]] std::vector<AccessibleItem> all() const {
        std::vector<AccessibleItem> result;
        for (int i = 0; i < interface->childCount(); ++i) {
            const AccessibleItem child(interface->child(i));
            if (child && !child.state().invisible) {
                result.push_back(child);
                std::ranges::copy(child.all(), std::back_inserter(result));
            }
        }
        return result;
    }

  private:
    QAccessibleInterface* interface;
};

/// A scene in a window of its own.
class Scene {
  public:
    /// A file of the module, such as "Popover/PopoverView.qml".
    static QUrl file(const QString& name) { return {QStringLiteral("qrc:/qt-project.org/imports/Nocta/") + name}; }

    Scene(const QUrl& source, const QVariantMap& properties) {
        make([&](QQmlComponent& component) { component.loadUrl(source); }, properties);
    }
    explicit Scene(const QByteArray& source, const QVariantMap& properties = {}) {
        make([&](QQmlComponent& component) { component.setData(source, QUrl(QStringLiteral("qrc:/scene.qml"))); },
             properties);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene() { window.reset(); }

    [[nodiscard]] QQuickWindow& shownIn() const { return *window; }
    [[nodiscard]] QQuickItem& root() const { return *item; }

    [[nodiscard]] std::vector<AccessibleItem> all() const {
        return AccessibleItem(QAccessible::queryAccessibleInterface(window.get())).all();
    }
    /// The first one of that name; none where there is none.
    [[nodiscard]] AccessibleItem find(const std::string& name) const {
        for (const auto& candidate : all()) {
            if (candidate.name() == name) {
                return candidate;
            }
        }
        return AccessibleItem();
    }
    [[nodiscard]] AccessibleItem focused() const {
        auto* const focusItem = window->activeFocusItem();
        return AccessibleItem(focusItem != nullptr ? QAccessible::queryAccessibleInterface(focusItem) : nullptr);
    }

  private:
    void make(const std::function<void(QQmlComponent&)>& load, const QVariantMap& properties) {
        prepareQuick();
        QQmlComponent component(&engine);
        load(component);
        auto* object = component.createWithInitialProperties(properties);
        item = qobject_cast<QQuickItem*>(object);
        if (item == nullptr) {
            delete object;
            throw std::runtime_error(component.errorString().toStdString());
        }
        window = std::make_unique<QQuickWindow>();
        window->setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        item->setParentItem(window->contentItem());
        item->setParent(window.get());
        item->setFocus(true);
        window->setGeometry(0, 0, static_cast<int>(item->width()), static_cast<int>(item->height()));
        window->show();
    }

    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
    QQuickItem* item = nullptr; ///< the window's
};

} // namespace nocta::test
