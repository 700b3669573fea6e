#pragma once

#include <QString>

namespace nocta {

/// Why a call from another program changed nothing.
struct RemoteError {
    QString name; ///< as D-Bus names errors
    QString text; ///< says what would have been right

    static RemoteError invalidArguments(const QString& text) {
        return {.name = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"), .text = text};
    }
};

} // namespace nocta
