#pragma once

#include <QString>

namespace nocta {

/// The interface by which every object on a bus tells its properties.
inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace nocta
