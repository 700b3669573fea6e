#include "Platform/X11/XClient.h"

#include <xcb/xcbext.h>

namespace nocta {

XClient::XClient(RunLoop& loop, std::function<void(const xcb_generic_event_t&)> onEvent)
    : loop(loop), onEvent(std::move(onEvent)) {
    if (!connection.isLost()) {
        watch = loop.watch(connection.descriptor(), [this] { serve(); });
    }
}

void XClient::send() {
    hasRequests = true;
    if (!isServing && !turn) {
        turn = loop.oneShot(Seconds(0), [this] { serve(); });
    }
}

void XClient::serve() {
    turn.reset();
    isServing = true;
    do {
        // Writing may read as well, so what came in is looked for after it.
        if (std::exchange(hasRequests, false)) {
            connection.flush();
        }
        // What is left on the descriptor calls again: one read a turn is enough.
        auto* next = &xcb_poll_for_event;
        while (const XReply<xcb_generic_event_t> event{next(get())}) {
            onEvent(*event);
            next = &xcb_poll_for_queued_event;
        }
        while (takeReply()) {
        }
    } while (hasRequests);
    isServing = false;
    if (connection.isLost()) {
        watch.reset();
    }
}

bool XClient::takeReply() {
    if (questions.empty()) {
        return false;
    }
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (connection.isLost() || xcb_poll_for_reply(get(), questions.front().sequence, &reply, &error) == 0) {
        return false;
    }
    const XReply<xcb_generic_error_t> ownedError(error);
    const auto question = std::move(questions.front());
    questions.pop_front();
    question.onReply(reply);
    return true;
}

} // namespace nocta
