#pragma once

#include <array>
#include <string>

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
    std::string name = "nocta";
    std::array<char*, 2> argv{name.data(), nullptr};
    QGuiApplication application{argc, argv.data()};
};

} // namespace nocta::test
