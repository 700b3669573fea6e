#pragma once

#include <QGuiApplication>

namespace nocta::test {

/// A GUI application without a display server, for what needs one to exist: fonts, palettes, events.
class OffscreenApplication {
  public:
    OffscreenApplication() { static_cast<void>(application); }

  private:
    struct Platform {
        Platform() {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            qputenv("QT_QUICK_BACKEND", "software");
        }
    };

    Platform platform;
    int argc = 1;
    char name[6] = "nocta";
    char* argv[2] = {name, nullptr};
    QGuiApplication application{argc, argv};
};

} // namespace nocta::test
