#pragma once

#include "Platform/StatusItem.h"

#include <vector>

#include <QDBusArgument>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace nocta {

/// A menu of one level, as `com.canonical.dbusmenu` tells panels of it. Entry n has the id n + 1; 0 is the menu itself.
class DBusMenu final : public QDBusVirtualObject {
  public:
    /// What each entry does is called from the event loop, after the host has its answer. Hosts are not told of the
    /// change: set before the item is first registered.
    void setEntries(std::vector<MenuEntry> newEntries) { entries = std::move(newEntries); }

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    [[nodiscard]] QVariantMap properties(int id) const;
    [[nodiscard]] bool hasEntry(int id) const;
    [[nodiscard]] QDBusMessage answer(const QDBusMessage& message);
    void activate(int id) const;

    std::vector<MenuEntry> entries;
};

} // namespace nocta
