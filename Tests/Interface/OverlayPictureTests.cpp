// The overlay, beside pictures of it and those of the documentation.

#include "OverlayDesktop.h"
#include "Pictures.h"

#include <algorithm>
#include <filesystem>
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
    explicit OverlayPicture(Typeface typeface = Typeface::even) : conditions(GetParam().scale, typeface) {
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

    static QImage read(const std::filesystem::path& picture) {
        return QImage(QString::fromStdString(picture)).convertToFormat(QImage::Format_RGB32);
    }

    PictureConditions conditions;
};

TEST_P(OverlayPicture, IsAsPictured) {
    const auto expected = read(std::filesystem::path(NOCTA_PICTURES_FOLDER) / (GetParam().name + ".png"));
    present();
    window->setContent(breakContent(13));
    constexpr double allowed = 0.005;
    QImage seen;
    const bool isAlike = runUntil([&] {
        seen = screenshot(screen());
        return isFadedIn && difference(seen, expected) <= allowed;
    });
    if (!isAlike) {
        const auto file = QString::fromStdString(programFolder() / ("overlay-" + GetParam().name + ".png"));
        seen.save(file);
        FAIL() << difference(seen, expected) << " of what is drawn differs; look at " << file.toStdString()
               << ", and if it is right, put it among the pictures";
    }
    window->setContent(breakContent(12));
    EXPECT_TRUE(runUntil([&] { return difference(screenshot(screen()), expected) > allowed; })) << "a second later";
}

class DocumentedOverlay : public OverlayPicture {
  protected:
    DocumentedOverlay() : OverlayPicture(Typeface::inter) {}
};

TEST_P(DocumentedOverlay, LooksAsInTheDocumentation) {
    const auto name = GetParam().name + ".png";
    const auto documented = read(std::filesystem::path(NOCTA_DOCUMENTATION_FOLDER) / name);
    present();
    window->setContent(breakContent(13));
    QImage seen;
    const bool isAlike = runUntil([&] {
        seen = screenshot(screen());
        return isFadedIn && differenceFromAfar(seen, documented, background) <= documentationMayDiffer;
    });
    if (!isAlike) {
        const auto file = programFolder() / ("documented-" + name);
        seen.save(QString::fromStdString(file));
        FAIL() << differenceFromAfar(seen, documented, background) << " of it differs; look at " << file
               << ", and if it is right, put it into the documentation";
    }
    window->setContent(breakContent(3));
    EXPECT_TRUE(runUntil([&] {
        return differenceFromAfar(screenshot(screen()), documented, background) > documentationMayDiffer;
    })) << "ten seconds later";
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

INSTANTIATE_TEST_SUITE_P(Each, DocumentedOverlay,
                         testing::Values(Look{"1280x800", 1280, 800}, Look{"1920x1080", 1920, 1080}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace nocta::test
