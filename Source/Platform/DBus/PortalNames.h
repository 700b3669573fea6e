#pragma once

#include <QString>

namespace nocta {

/// The desktop portal on the session bus.
inline const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

} // namespace nocta
