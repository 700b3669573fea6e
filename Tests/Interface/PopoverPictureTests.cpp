// The whole popover as people see it, beside the pictures of the documentation; what is below its header in more states
// is the tabs' own affair.

#include "Core/AppState.h"
#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/Pictures.h"
#include "Interface/Popover/PopoverModel.h"
#include "Interface/Scene.h"
#include "Interface/Theme.h"
#include "Support/Process.h"

#include <algorithm>
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

    friend std::ostream& operator<<(std::ostream& stream, const Look& look) { return stream << look.name; }
};

/// One line a state.
const std::vector<Look>& looks() {
    using enum PopoverTab;
    static const std::vector<Look> all{
        {"popover-presets", presets, [] { state().activePresetID = "evening"; }},
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
         }},
        {"popover-breaks", breaks,
         [] {
             state().activePresetID = "dusk";
             state().breaksEnabled = true;
         }},
        {"popover-stats", stats,
         [] {
             state().activePresetID = "sleep";
             state().exposureScore = 79;
         }},
    };
    return all;
}

/// The light half has no background that counts as such, so that more counts as drawn than is.
double difference(const QImage& seen, const QImage& documented) {
    return pictureDifference(seen, documented, Theme::shared().background().rgb());
}

class PopoverPicture : public testing::TestWithParam<std::tuple<Look, int>> {
  protected:
    PopoverPicture() {
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

    PictureConditions conditions{scale()};
    OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    std::unique_ptr<PopoverModel> model;
};

TEST_P(PopoverPicture, IsAsInTheDocumentation) {
    const auto name = QString::fromStdString(look().name) + (scale() == 1 ? "" : "-at-2") + ".png";
    const auto documented =
        QImage(QStringLiteral(NOCTA_PICTURES_FOLDER "/") + name).convertToFormat(QImage::Format_RGB32);
    constexpr double allowed = 0.002;
    const QImage seen = draw();
    if (difference(seen, documented) > allowed) {
        const auto file = QString::fromStdString(programFolder() / "") + name;
        seen.save(file);
        FAIL() << difference(seen, documented) << " of it differs; look at " << file.toStdString()
               << ", and if it is right, put it into the documentation";
    }
    // That a picture of something else would not pass.
    state().filterEnabled = !state().filterEnabled.get();
    EXPECT_GT(difference(draw(), documented), allowed);
}

INSTANTIATE_TEST_SUITE_P(Each, PopoverPicture, testing::Combine(testing::ValuesIn(looks()), testing::Values(1, 2)),
                         [](const auto& test) {
                             std::string name =
                                 std::get<Look>(test.param).name + (std::get<int>(test.param) == 1 ? "" : "_at_2");
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace nocta::test
