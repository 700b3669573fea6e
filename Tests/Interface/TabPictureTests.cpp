// The tabs as people see them, beside the pictures of the documentation.

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/Pictures.h"
#include "Interface/Popover/BreaksModel.h"
#include "Interface/Popover/ScheduleModel.h"
#include "Interface/Popover/StatsModel.h"
#include "Interface/Scene.h"
#include "Interface/Theme.h"
#include "Support/Process.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QLocale>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// A state of a tab that looks like no other one.
struct TabLook {
    std::string name; ///< of the picture
    std::string tab;
    void (*prepare)();
    /// What the tab would change by itself when it comes on the screen.
    void (*adjust)() = [] {};
    Seconds afterNoon{};

    friend std::ostream& operator<<(std::ostream& stream, const TabLook& look) { return stream << look.name; }
};

AppState& state() {
    return AppState::shared();
}

void prepareStats() {
    state().activePresetID = "dusk";
    state().totalFilteredMinutes = 125;
    state().breaksTaken = 7;
    state().breaksSkipped = 2;
}

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

const auto looks = std::to_array<TabLook>({
    {"schedule-off", "Schedule", [] {}},
    {"schedule-location", "Schedule",
     [] {
         state().scheduleEnabled = true;
         state().activePresetID = "dusk";
     },
     [] {}, Seconds(6.5 * 3600)},
    {"schedule-manual", "Schedule",
     [] {
         state().scheduleEnabled = true;
         state().scheduleUsesLocation = false;
         state().activePresetID = "evening";
     },
     [] {}, Seconds(9.0 * 3600)},
    {"breaks-off", "Breaks", [] {}},
    {"breaks-on", "Breaks",
     [] {
         state().breaksEnabled = true;
         state().breaksTaken = 7;
         state().breaksSkipped = 2;
     }},
    {"breaks-largest", "Breaks",
     [] {
         state().breaksEnabled = true;
         state().breakIntervalMinutes = 60;
         state().breakDurationSeconds = 60;
         state().breaksTaken = largest;
         state().breaksSkipped = 123456;
         state().activePresetID = "evening";
     }},
    {"stats-40", "Stats", &prepareStats, [] { state().exposureScore = 40; }},
    {"stats-60", "Stats",
     [] {
         prepareStats();
         state().filterEnabled = false;
     },
     [] { state().exposureScore = 60; }},
    {"stats-79", "Stats", &prepareStats, [] { state().exposureScore = 79; }},
    {"stats-89", "Stats", &prepareStats, [] { state().exposureScore = 89; }},
    {"stats-100", "Stats",
     [] {
         prepareStats();
         state().activePresetID = "natural";
     },
     [] { state().exposureScore = 100; }},
    {"stats-long", "Stats",
     [] {
         prepareStats();
         state().activePresetID = "sleep";
         state().totalFilteredMinutes = largest;
         state().breaksTaken = largest - 123456;
         state().breaksSkipped = 123456;
     },
     [] { state().exposureScore = 100; }},
});

class TabPicture : public testing::TestWithParam<std::tuple<TabLook, ColorScheme, int>> {
  protected:
    TabPicture() {
        world.appearance.setColorScheme(std::get<ColorScheme>(GetParam()));
        world.appearance.setReducesMotion(true);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    }

    void show() {
        const TabLook& look = std::get<TabLook>(GetParam());
        world.jump(look.afterNoon);
        look.prepare();
        if (look.tab == "Schedule") {
            model = std::make_unique<ScheduleModel>();
        } else if (look.tab == "Breaks") {
            model = std::make_unique<BreaksModel>();
        } else {
            model = std::make_unique<StatsModel>();
        }
        BreakEngine::shared().start();
        world.advance(Seconds(489));
        model->setOnScreen(true);
        look.adjust();
        const std::string source = "import QtQuick\nimport Nocta\nRectangle { id: root; required property " + look.tab +
                                   "Model model; width: 340; height: 410; color: Theme.background; " + look.tab +
                                   "View { anchors.fill: parent; model: root.model } }";
        scene = std::make_unique<test::Scene>(QByteArray::fromStdString(source),
                                              QVariantMap{{"model", QVariant::fromValue(model.get())}});
    }

    [[nodiscard]] static std::string fileName(const TabLook& look) {
        const auto& [ignored, scheme, scale] = GetParam();
        return look.name + (scheme == ColorScheme::dark ? "-dark" : "-light") + (scale == 2 ? "-at-2" : "") + ".png";
    }
    [[nodiscard]] static QImage pictured(const TabLook& look) {
        return QImage(QStringLiteral(NOCTA_PICTURES_FOLDER "/") + QString::fromStdString(fileName(look)))
            .convertToFormat(QImage::Format_RGB32);
    }
    [[nodiscard]] QImage seen() const { return scene->shownIn().grabWindow().convertToFormat(QImage::Format_RGB32); }
    [[nodiscard]] static double difference(const QImage& one, const QImage& other) {
        return test::pictureDifference(one, other, Theme::shared().background().rgb());
    }

    test::PictureConditions conditions{std::get<int>(GetParam())};
    test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    std::unique_ptr<TabModel> model;
    std::unique_ptr<test::Scene> scene;
};

TEST_P(TabPicture, IsAsPictured) {
    show();
    const TabLook& look = std::get<TabLook>(GetParam());
    const QImage expected = pictured(look);
    constexpr double allowed = 0.005;
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    QImage picture = seen();
    while (difference(picture, expected) > allowed && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        picture = seen();
    }
    if (difference(picture, expected) > allowed) {
        const auto file = test::programFolder() / fileName(look);
        picture.save(QString::fromStdString(file.string()));
        FAIL() << difference(picture, expected) << " of what is drawn differs; look at " << file
               << ", and if it is right, put it among the pictures";
    }
    for (const TabLook& other : looks) {
        if (other.name != look.name) {
            EXPECT_GT(difference(picture, pictured(other)), allowed) << "nor is it " << other.name;
        }
    }
}

std::string testName(const testing::TestParamInfo<std::tuple<TabLook, ColorScheme, int>>& info) {
    const auto& [look, scheme, scale] = info.param;
    std::string name = look.name + (scheme == ColorScheme::dark ? "_dark" : "_light") + (scale == 2 ? "_at_2" : "");
    std::ranges::replace(name, '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, TabPicture,
                         testing::Combine(testing::ValuesIn(looks),
                                          testing::Values(ColorScheme::light, ColorScheme::dark),
                                          testing::Values(1, 2)),
                         &testName);

} // namespace
} // namespace nocta
