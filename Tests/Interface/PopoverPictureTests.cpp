// The whole popover, beside pictures of it and those of the documentation; what is below its header in more states is
// the tabs' own affair.

#include "Core/AppState.h"
#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/Pictures.h"
#include "Interface/Popover/PopoverModel.h"
#include "Interface/Scene.h"
#include "Interface/Theme.h"
#include "Support/Process.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLocale>
#include <QPainter>

#include <gtest/gtest.h>

namespace nocta::test {
namespace {

AppState& state() {
    return AppState::shared();
}

/// What is on the screen is told by the selected tab, and by what is done to the state once it is there.
struct Look {
    std::string name; ///< of the picture
    PopoverTab tab = PopoverTab::presets;
    std::function<void()> prepare;
    bool isDocumented = false; ///< under docs/pictures, too

    friend std::ostream& operator<<(std::ostream& stream, const Look& look) { return stream << look.name; }
};

/// One line a state.
const std::vector<Look>& looks() {
    using enum PopoverTab;
    static const std::vector<Look> all{
        {"popover-presets", presets, [] { state().activePresetID = "evening"; }, true},
        {"popover-pale", presets, [] { state().activePresetID = "focus"; }},
        {"popover-off", presets, [] { state().filterEnabled = false; }},
        {"popover-custom", presets,
         [] {
             state().activePresetID = "custom";
             state().customTemp = 2345;
             state().customBrightness = 0.57;
             state().exposureScore = 0;
         }},
        {"popover-schedule", schedule,
         [] {
             state().activePresetID = "dusk";
             state().scheduleEnabled = true;
         },
         true},
        {"popover-breaks", breaks,
         [] {
             state().activePresetID = "dusk";
             state().breaksEnabled = true;
         },
         true},
        {"popover-stats", stats,
         [] {
             state().activePresetID = "sleep";
             state().exposureScore = 79;
         },
         true},
    };
    return all;
}

/// The light half has no background that counts as such, so that more counts as drawn than is.
double difference(const QImage& seen, const QImage& documented) {
    return pictureDifference(seen, documented, Theme::shared().background().rgb());
}

class PopoverPicture : public testing::TestWithParam<std::tuple<Look, int>> {
  protected:
    explicit PopoverPicture(Typeface typeface = Typeface::even) : conditions(scale(), typeface) {
        QGuiApplication::setFont(QFont(QStringLiteral("Inter")));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        world.appearance.setReducesMotion(true);
        model = std::make_unique<PopoverModel>();
        model->setSelectedTab(static_cast<int>(look().tab));
        world.jump(Seconds(6.5 * 3600)); // to dusk
        model->setShown(true);
        look().prepare();
        // For the countdown, which looks at its engine once a second.
        world.advance(Seconds(1));
    }

    [[nodiscard]] static const Look& look() { return std::get<Look>(GetParam()); }
    [[nodiscard]] static int scale() { return std::get<int>(GetParam()); }

    /// Light and dark, side by side: the second by a change of the appearance while the popover is open.
    QImage draw() {
        world.appearance.setColorScheme(ColorScheme::light);
        Scene scene(Scene::file(QStringLiteral("Popover/PopoverView.qml")),
                    {{"model", QVariant::fromValue(model.get())}, {"width", 340}, {"height", 560}});
        const QImage light = scene.shownIn().grabWindow();
        world.appearance.setColorScheme(ColorScheme::dark);
        const QImage dark = scene.shownIn().grabWindow();
        QImage both(light.width() + dark.width(), light.height(), QImage::Format_RGB32);
        QPainter painter(&both);
        painter.drawImage(QRectF(QPointF(0, 0), QSizeF(light.size())), light);
        painter.drawImage(QRectF(QPointF(light.width(), 0), QSizeF(dark.size())), dark);
        return both;
    }

    PictureConditions conditions;
    OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    std::unique_ptr<PopoverModel> model;
};

QImage read(const std::filesystem::path& picture) {
    return QImage(QString::fromStdString(picture)).convertToFormat(QImage::Format_RGB32);
}

TEST_P(PopoverPicture, IsAsPictured) {
    const auto name = look().name + (scale() == 1 ? "" : "-at-2") + ".png";
    const auto expected = read(std::filesystem::path(NOCTA_PICTURES_FOLDER) / name);
    constexpr double allowed = 0.002;
    const QImage seen = draw();
    if (difference(seen, expected) > allowed) {
        const auto file = programFolder() / name;
        seen.save(QString::fromStdString(file));
        FAIL() << difference(seen, expected) << " of it differs; look at " << file
               << ", and if it is right, put it among the pictures";
    }
    // That a picture of something else would not pass.
    state().filterEnabled = !state().filterEnabled.get();
    EXPECT_GT(difference(draw(), expected), allowed);
}

class DocumentedPopover : public PopoverPicture {
  protected:
    DocumentedPopover() : PopoverPicture(Typeface::inter) {}
};

TEST_P(DocumentedPopover, LooksAsInTheDocumentation) {
    const auto name = look().name + ".png";
    const auto documented = read(std::filesystem::path(NOCTA_DOCUMENTATION_FOLDER) / name);
    const QImage seen = draw();
    if (differenceFromAfar(seen, documented, Theme::shared().background().rgb()) > documentationMayDiffer) {
        const auto file = programFolder() / ("documented-" + name);
        seen.save(QString::fromStdString(file));
        FAIL() << differenceFromAfar(seen, documented, Theme::shared().background().rgb()) << " of it differs; look at "
               << file << ", and if it is right, put it into the documentation";
    }
    for (const Look& other : looks()) {
        const auto picture = std::filesystem::path(NOCTA_DOCUMENTATION_FOLDER) / (other.name + ".png");
        if (other.name != look().name && other.isDocumented) {
            EXPECT_GT(differenceFromAfar(seen, read(picture), Theme::shared().background().rgb()),
                      documentationMayDiffer)
                << "nor is it " << other.name;
        }
    }
}

std::vector<Look> documentedLooks() {
    auto documented = looks();
    std::erase_if(documented, [](const Look& look) { return !look.isDocumented; });
    return documented;
}

std::string testName(const testing::TestParamInfo<std::tuple<Look, int>>& info) {
    std::string name = std::get<Look>(info.param).name + (std::get<int>(info.param) == 1 ? "" : "_at_2");
    std::ranges::replace(name, '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, PopoverPicture, testing::Combine(testing::ValuesIn(looks()), testing::Values(1, 2)),
                         &testName);
INSTANTIATE_TEST_SUITE_P(Each, DocumentedPopover,
                         testing::Combine(testing::ValuesIn(documentedLooks()), testing::Values(1)), &testName);

} // namespace
} // namespace nocta::test
