// The overlay as people see it, beside the pictures of the documentation.

#include "OverlayDesktop.h"
#include "Pictures.h"

#include <algorithm>
#include <ostream>
#include <string>

#include <QGuiApplication>
#include <QPalette>

namespace nocta::test {
namespace {

struct Look {
    std::string name; ///< of the picture
    int width = 0;    ///< of the screen, in pixels
    int height = 0;
    int scale = 1; ///< pixels for a logical one
    bool isDesktopDark = false;

    friend std::ostream& operator<<(std::ostream& stream, const Look& look) {
        return stream << look.name << (look.isDesktopDark ? " on a dark desktop" : "");
    }
};

/// One screen, under the conditions of a picture.
class OverlayPicture : public OverlaySession, public testing::WithParamInterface<Look> {
  protected:
    OverlayPicture() {
        const auto& look = GetParam();
        const auto mode = std::to_string(look.width) + "x" + std::to_string(look.height) + "-picture";
        const auto add = [](int value, int more) { return std::to_string(value + more); };
        // Times that a monitor would take, with a pixel clock that the server takes.
        run({"xrandr", "--newmode", mode, "200", add(look.width, 0), add(look.width, 48), add(look.width, 80),
             add(look.width, 160), add(look.height, 0), add(look.height, 3), add(look.height, 8),
             add(look.height, 30)});
        run({"xrandr", "--addmode", "DUMMY0", mode});
        run({"xrandr", "--output", "DUMMY0", "--mode", mode, "--pos", "0x0", "--primary"});
        begin();
        if (look.isDesktopDark) {
            QGuiApplication::setPalette(QPalette(QColor(0x20, 0x20, 0x20)));
        }
    }

    [[nodiscard]] static QRect screen() { return {0, 0, GetParam().width, GetParam().height}; }

    static double difference(const QImage& seen, const QImage& documented) {
        return pictureDifference(seen, documented, background);
    }

    PictureConditions conditions{GetParam().scale};
};

TEST_P(OverlayPicture, IsAsInTheDocumentation) {
    const auto name = QString::fromStdString(GetParam().name) + ".png";
    const auto documented =
        QImage(QStringLiteral(NOCTA_PICTURES_FOLDER "/") + name).convertToFormat(QImage::Format_RGB32);
    present();
    window->setContent(breakContent(13));
    constexpr double allowed = 0.005;
    QImage seen;
    const bool isAlike = runUntil([&] {
        seen = screenshot(screen());
        return isFadedIn && difference(seen, documented) <= allowed;
    });
    if (!isAlike) {
        const auto file = QString::fromStdString(programFolder() / ("overlay-" + GetParam().name + ".png"));
        seen.save(file);
        FAIL() << difference(seen, documented) << " of what is drawn differs; look at " << file.toStdString()
               << ", and if it is right, put it into the documentation";
    }
    window->setContent(breakContent(12));
    EXPECT_TRUE(runUntil([&] { return difference(screenshot(screen()), documented) > allowed; })) << "a second later";
}

INSTANTIATE_TEST_SUITE_P(Each, OverlayPicture,
                         testing::Values(Look{"800x600", 800, 600}, Look{"1280x800", 1280, 800},
                                         Look{.name = "1280x800", .width = 1280, .height = 800, .isDesktopDark = true},
                                         Look{"1920x1080", 1920, 1080}, Look{"3840x2160-at-2", 3840, 2160, 2}),
                         [](const auto& test) {
                             std::string name = test.param.name + (test.param.isDesktopDark ? "OnADarkDesktop" : "");
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace nocta::test
