#include "Platform/X11/QtSynchronization.h"

#include "Platform/X11/XConnection.h"

#include <QGuiApplication>
#include <xcb/xproto.h>

namespace nocta {

void synchronizeQt() {
    const auto* const application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (application != nullptr) {
        auto* const connection = application->connection();
        const XReply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }
}

} // namespace nocta
