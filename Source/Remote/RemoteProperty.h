#pragma once

#include "Remote/RemoteError.h"

#include <functional>
#include <optional>
#include <vector>

#include <QString>
#include <QVariant>

namespace nocta {

/// A property of the remote interface: all that is known of it, in one place.
struct RemoteProperty {
    QString name;
    QString signature; ///< its D-Bus type
    std::function<QVariant()> read;
    /// Does what a person's hand would do, if a person could: else nothing, and says why. The value is of the right
    /// type. Empty where only Nocta changes the property.
    std::function<std::optional<RemoteError>(const QVariant& value)> write = {};
    /// Whether every change is announced: not what changes with the clock, nor what nobody tells of.
    bool isAnnounced = true;

    /// Everything that other programs may know, in the order of their interest. The settings have the names that they
    /// have in the settings file.
    static const std::vector<RemoteProperty>& all();
    /// The property of that name, or null.
    static const RemoteProperty* find(const QString& name);
};

/// Assigns and removes the preset of an application. An error changes nothing.
std::optional<RemoteError> setProfile(const QString& application, const QString& preset);
std::optional<RemoteError> removeProfile(const QString& application);
/// As a tap on the preset's card.
std::optional<RemoteError> choosePresetByID(const QString& id);

} // namespace nocta
