#include "App/Program.h"

#include "App/BackEnds.h"
#include "Platform/DBus/BusApplicationHost.h"
#include "Platform/Platform.h"
#include "Platform/Posix/RuntimeLock.h"
#include "Platform/Posix/SystemClock.h"
#include "Platform/Posix/TerminationSignals.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Qt/QtSettingsStore.h"

#include <cstdio>

namespace nocta {

namespace {

int failure(const char* reason) {
    std::fprintf(stderr, "nocta: %s\n", reason);
    return 1;
}

} // namespace

int runProgram(int argc, char** argv, ApplicationDelegate& delegate) {
    QtApplication application(argc, argv);
    QtRunLoop runLoop;

    BusApplicationHost host;
    switch (host.claim([] {})) {
    case ApplicationHost::Claim::primary:
    case ApplicationHost::Claim::unavailable:
        break;
    case ApplicationHost::Claim::forwarded:
        return 0;
    case ApplicationHost::Claim::unanswered:
        return failure("another Nocta is running, but it does not answer");
    }

    const auto server = displayServerName();
    if (!server) {
        return failure("no display server: neither DISPLAY nor a session that Nocta knows");
    }
    // Also with a bus: two sessions of a user may share the display server and not the bus.
    RuntimeLock lock;
    if (lock.acquire("nocta-" + *server + ".lock") == RuntimeLock::Result::heldByAnother) {
        return failure("another Nocta is running on this display server");
    }
    const auto displays = makeDisplayService(runLoop, [&application] {
        std::fputs("nocta: the display server went away\n", stderr);
        application.terminate(1);
    });
    if (!displays) {
        return failure("no display whose colours can be changed is reachable");
    }

    SystemClock clock;
    SystemCalendar calendar;
    QtSettingsStore settings(QtSettingsStore::userFile());
    Platform::install({.application = &application,
                       .runLoop = &runLoop,
                       .clock = &clock,
                       .calendar = &calendar,
                       .settings = &settings,
                       .displays = displays.get()});
    const TerminationSignals signals(runLoop, [&application] { application.terminate(0); });
    return application.run(delegate);
}

} // namespace nocta
