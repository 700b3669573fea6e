#pragma once

#include "Support/XServer.h"

#include <array>
#include <chrono>
#include <string>

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QGuiApplication>

namespace nocta::test {

/// A GUI application on a private X server.
class XcbApplication {
  public:
    /// False when `condition` does not hold within `patience`, which is far beyond what it should take.
    template <class Condition>
    bool runUntil(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
        const QDeadlineTimer deadline(patience);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return true;
    }

    XServer xServer;

  private:
    struct Platform {
        Platform() {
            qputenv("QT_QPA_PLATFORM", "xcb");
            qputenv("QT_XCB_GL_INTEGRATION", "none");
            qputenv("QT_QUICK_BACKEND", "software");
        }
    };

    Platform platform;
    int argc = 1;
    std::string name = "nocta";
    std::array<char*, 2> argv{name.data(), nullptr};
    QGuiApplication application{argc, argv.data()};
};

} // namespace nocta::test
