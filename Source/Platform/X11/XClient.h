#pragma once

#include "Platform/RunLoop.h"
#include "Platform/X11/XConnection.h"

#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace nocta {

/// A connection of its own that is served from the run loop: events and replies are taken as they come in, and nothing
/// waits for the server.
class XClient {
  public:
    /// `onEvent` is called from the run loop for every event. `loop` outlives the client; the client is not destroyed
    /// inside what it calls.
    XClient(RunLoop& loop, std::function<void(const xcb_generic_event_t&)> onEvent);

    [[nodiscard]] const XConnection& server() const { return connection; }
    [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }

    /// Calls `onReply` from the run loop with what the server replies to the request of that sequence number; null
    /// after an error. Replies come in the order in which they were asked for, and not at all once the server has gone.
    template <class Reply>
    void ask(unsigned sequence, std::function<void(XReply<Reply>)> onReply) {
        questions.push_back({.sequence = sequence, .onReply = [onReply = std::move(onReply)](void* reply) {
                                 onReply(XReply<Reply>(static_cast<Reply*>(reply)));
                             }});
        send();
    }

    /// Lets the run loop send the requests that were queued. Also to be called after waiting for the server: events
    /// that came in meanwhile wait in the library, where the descriptor does not show them.
    void send();

  private:
    struct Question {
        unsigned sequence;
        std::function<void(void*)> onReply;
    };

    void serve();
    bool takeReply();

    RunLoop& loop;
    std::function<void(const xcb_generic_event_t&)> onEvent;
    XConnection connection;
    std::deque<Question> questions;
    bool isServing = false;
    bool hasRequests = false;
    std::unique_ptr<RunLoopSource> watch;
    std::unique_ptr<Timer> turn;
};

} // namespace nocta
