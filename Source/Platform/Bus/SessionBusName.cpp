#include "Platform/Bus/SessionBusName.h"

#include <QFileInfo>
#include <QString>

namespace nocta {

bool isSessionBusNamed() {
    if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")) {
        return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS");
    }
    return qEnvironmentVariableIsSet("XDG_RUNTIME_DIR") &&
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

} // namespace nocta
