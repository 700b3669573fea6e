#include "Interface/StatusBar/QuickPopoverHost.h"

#include "Platform/Simulated/SimulatedRunLoop.h"
#include "Platform/X11/X11PopoverSurface.h"
#include "Support/DrivenDisplays.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"
#include "XcbApplication.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QObject>
#include <QPointer>
#include <QQmlPropertyMap>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QString>

namespace nocta {
namespace {

constexpr std::uint32_t bodyColor = 0x336699;
constexpr std::uint32_t desktopColor = 0xF0E0D0;

/// What the popover shows here: one colour, and what a test wants to know of the keyboard.
constexpr const char* content = R"(import QtQuick
Rectangle {
    property real cornerRadius: -1
    required property QtObject model
    color: "#336699"
    radius: cornerRadius
    focus: true
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Escape && !model.usesEscape)
            return;
        model.typed += event.text;
        event.accepted = true;
    }
}
)";

/// Of that scene.
class Model {
  public:
    Model() {
        values.insert(typedName, QString());
        setUsesEscape(false);
    }

    [[nodiscard]] QString typed() const { return values.value(typedName).toString(); }
    void setUsesEscape(bool uses) { values.insert(QStringLiteral("usesEscape"), uses); }
    [[nodiscard]] QObject* object() { return &values; }

  private:
    const QString typedName = QStringLiteral("typed");
    QQmlPropertyMap values;
};

class QuickPopoverTest : public testing::Test {
  protected:
    QuickPopoverTest() {
        std::ofstream(folder.path() / "Content.qml") << content;
        paintDesktop();
    }

    void paintDesktop() const {
        const std::uint32_t color = desktopColor;
        xcb_change_window_attributes(server.get(), server.root(), XCB_CW_BACK_PIXEL, &color);
        xcb_clear_area(server.get(), 0, server.root(), 0, 0, 0, 0);
        server.synchronize();
    }

    /// A panel of that height at the top of the screen, as the window manager's other clients see it.
    void reserveTop(std::uint32_t height) const {
        const auto window = xcb_generate_id(server.get());
        xcb_create_window(server.get(), 0, window, server.root(), 0, 0, 1280, static_cast<std::uint16_t>(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        const std::array<std::uint32_t, 12> strut{0, 0, height, 0, 0, 0, 0, 0, 0, 1279, 0, 0};
        const auto dock = server.atom("_NET_WM_WINDOW_TYPE_DOCK");
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, server.atom("_NET_WM_STRUT_PARTIAL"),
                            XCB_ATOM_CARDINAL, 32, strut.size(), strut.data());
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, server.atom("_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &dock);
        xcb_map_window(server.get(), window);
        server.synchronize();
    }

    /// The same of a panel that is part of the window manager, on the main one of two monitors.
    void reserveTopAsGnomeDoes(std::uint32_t height) const {
        const std::array<std::uint32_t, 8> areas{0, height, 1280, 800 - height, 1280, 0, 1280, 800};
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, server.root(), server.atom("_GTK_WORKAREAS_D0"),
                            XCB_ATOM_CARDINAL, 32, areas.size(), areas.data());
        server.synchronize();
    }

    [[nodiscard]] xcb_window_t makeWindow(const Rectangle& place, std::uint32_t color) const {
        const auto window = xcb_generate_id(server.get());
        xcb_create_window(server.get(), 0, window, server.root(), static_cast<std::int16_t>(place.x),
                          static_cast<std::int16_t>(place.y), static_cast<std::uint16_t>(place.width),
                          static_cast<std::uint16_t>(place.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &color);
        xcb_map_window(server.get(), window);
        server.synchronize();
        return window;
    }

    [[nodiscard]] std::vector<std::uint32_t> property(xcb_window_t window, const std::string& name) const {
        const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            server.get(),
            xcb_get_property(server.get(), 0, window, server.atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024), nullptr));
        if (!reply || reply->format != 32) {
            return {};
        }
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
        return {first, first + reply->value_len};
    }

    [[nodiscard]] xcb_window_t windowUnderPointer() const {
        const XReply<xcb_query_pointer_reply_t> reply(
            xcb_query_pointer_reply(server.get(), xcb_query_pointer(server.get(), server.root()), nullptr));
        return reply->child;
    }

    void open(const std::optional<Rectangle>& anchor) const {
        popover->show(anchor, Edge::below);
        popover->makeKey();
    }

    /// What was made of the QML file, while there is one.
    static QObject* scene() {
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (auto* quick = qobject_cast<QQuickWindow*>(window)) {
                for (auto* item : quick->contentItem()->childItems().value(0)->childItems()) {
                    return item;
                }
            }
        }
        return nullptr;
    }

    PopoverScene makeScene() {
        ++scenes;
        const auto file = QString::fromStdString((folder.path() / "Content.qml").string());
        const auto properties = [this] {
            return QVariantMap{{QStringLiteral("model"), QVariant::fromValue(model.object())}};
        };
        return {.source = QUrl::fromLocalFile(file), .properties = properties, .shownChanged = [this](bool shown) {
                    shownChanges.push_back(shown);
                }};
    }

    template <class Condition>
    bool screenBecomes(Condition condition) {
        return application.runUntil([&] { return condition(test::ScreenPicture()); });
    }

    /// In a panel at the top, near its right end.
    static constexpr Rectangle item{.x = 1200, .y = 4, .width = 22, .height = 22};

    test::XcbApplication application;
    test::TemporaryFolder folder;
    XConnection server;
    SimulatedRunLoop loop;
    Model model;
    int scenes = 0;
    int givenUp = 0;
    std::vector<bool> shownChanges;
    QuickPopoverHost host{loop, [](QWindow& window) { return std::make_unique<X11PopoverSurface>(window); },
                          [this] { return makeScene(); }, [this] { ++givenUp; }};
    std::unique_ptr<Popover> popover = host.makePopover({.contentSize = {.width = 340, .height = 560}});
};

/// The window that has the keyboard.
xcb_window_t focused(const XConnection& server) {
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(server.get(), xcb_get_input_focus(server.get()), nullptr));
    return reply->focus;
}

TEST_F(QuickPopoverTest, HangsOnTheItemInsideTheWorkAreaWithCleanEdges) {
    reserveTop(30);
    open(item);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    const test::ScreenPicture screen;
    // Below the panel a line of one pixel, then the body; as far right as the margin of 8 lets it.
    EXPECT_NE(screen.at(1280 - 8 - 170, 30), bodyColor);
    EXPECT_EQ(screen.at(1280 - 8 - 340, 31), bodyColor) << "no rounded corner where nothing blends windows";
    EXPECT_EQ(screen.at(1280 - 8 - 1, 31 + 559), bodyColor);
    EXPECT_NE(screen.at(1280 - 8, 300), bodyColor);
    EXPECT_NE(screen.at(1280 - 8, 300), desktopColor) << "the line";
    EXPECT_EQ(screen.at(1280 - 8 + 1, 300), desktopColor);
    EXPECT_EQ(scene()->property("cornerRadius").toDouble(), 0);
}

TEST_F(QuickPopoverTest, WhereThereIsLittleRoomItIsAsHighAsFits) {
    reserveTop(300);
    open(item);
    // Of 500: the line of 1 above it and the margin of 8 below it.
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 491U; }));
    EXPECT_EQ(test::ScreenPicture().at(1000, 800 - 8 - 1), bodyColor);
    EXPECT_EQ(scene()->property("height").toDouble(), 491);
}

TEST_F(QuickPopoverTest, WithACompositorItHasRoundedCornersAShadowAndAnArrow) {
    test::Process picom({"picom", "--backend", "xrender", "--config", "/dev/null"});
    const auto selection = server.atom("_NET_WM_CM_S0");
    ASSERT_TRUE(application.runUntil([&] {
        const XReply<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(server.get(), xcb_get_selection_owner(server.get(), selection), nullptr));
        return owner->owner != XCB_WINDOW_NONE;
    }));
    // A window over the whole screen: what the compositor paints as the desktop is its own business.
    const auto backdrop = makeWindow({.x = 0, .y = 0, .width = 1280, .height = 800}, desktopColor);
    reserveTop(30);
    open(item);
    // From the panel: a gap of 1, the arrow of 9, the body.
    const int top = 30 + 1 + 9;
    ASSERT_TRUE(screenBecomes([&](const auto& screen) { return screen.at(1000, top) == bodyColor; }));
    const test::ScreenPicture screen;
    const int left = 1280 - 8 - 340;
    EXPECT_NE(screen.at(left, top), bodyColor) << "a rounded corner";
    EXPECT_EQ(screen.at(left + 6, top + 6), bodyColor);
    EXPECT_NE(screen.at(1211, top - 6), screen.at(1150, top - 6)) << "the arrow, below the middle of the item";
    const auto brightness = [](std::uint32_t pixel) { return (pixel >> 8U) & 0xFFU; };
    EXPECT_LT(brightness(screen.at(left + 170, top + 560 + 4)), brightness(desktopColor)) << "the shadow";
    EXPECT_EQ(screen.at(left + 170, top + 560 + 40), desktopColor);
    EXPECT_GT(scene()->property("cornerRadius").toDouble(), 0);

    // The shadow is not there for clicks.
    test::Process({"xdotool", "mousemove", std::to_string(left + 170), std::to_string(top + 560 + 4)}).waitForEnd();
    EXPECT_EQ(windowUnderPointer(), backdrop);
    test::Process({"xdotool", "mousemove", std::to_string(left + 170), std::to_string(top + 300)}).waitForEnd();
    EXPECT_NE(windowUnderPointer(), backdrop);
}

TEST_F(QuickPopoverTest, StandsOnTheScreenOfItsItem) {
    test::DrivenDisplays displays;
    displays.plug(2);
    ASSERT_TRUE(application.runUntil([] { return QGuiApplication::screens().size() == 2; }));
    const auto second = QGuiApplication::screens().back()->geometry();
    open(Rectangle{.x = second.x() + 30.0, .y = second.bottom() - 20.0, .width = 22, .height = 20});
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    EXPECT_EQ(test::ScreenPicture().at(second.x() + 8, second.bottom() - 40), bodyColor);
    EXPECT_EQ(test::ScreenPicture().at(second.x() + 8 - 3, second.bottom() - 40), desktopColor);
}

TEST_F(QuickPopoverTest, WithoutAnItemItIsInTheCornerOfTheMainScreen) {
    open(std::nullopt);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    EXPECT_EQ(test::ScreenPicture().at(1280 - 9, 2), bodyColor);
}

TEST_F(QuickPopoverTest, APanelThatIsPartOfTheWindowManagerStaysFree) {
    reserveTopAsGnomeDoes(32);
    open(std::nullopt);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    EXPECT_EQ(test::ScreenPicture().at(1280 - 9, 32 + 1), bodyColor);
    EXPECT_NE(test::ScreenPicture().at(1280 - 9, 32), bodyColor) << "the line";
    EXPECT_EQ(test::ScreenPicture().at(1280 - 9, 31), desktopColor);
}

class PopoverUnderAWindowManager : public QuickPopoverTest,
                                   public testing::WithParamInterface<std::vector<std::string>> {
  protected:
    PopoverUnderAWindowManager() {
        EXPECT_TRUE(application.runUntil([this] { return !property(server.root(), "_NET_SUPPORTED").empty(); }));
    }

    /// A window of another program, which has the keyboard.
    [[nodiscard]] xcb_window_t makeManaged() {
        const auto window = makeWindow({.x = 10, .y = 400, .width = 300, .height = 300}, 0x222222);
        // A manager says that it is there a little before it is, and misses the first wish.
        EXPECT_TRUE(application.runUntil([&] {
            xcb_map_window(server.get(), window);
            const auto managed = property(server.root(), "_NET_CLIENT_LIST");
            return std::ranges::find(managed, window) != managed.end();
        }));
        // Not every manager gives the keyboard to a new window by itself.
        EXPECT_TRUE(application.runUntil([&] {
            xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
            server.synchronize();
            return focused(server) == window;
        }));
        return window;
    }

    test::SessionBus bus; // of its own for xfwm4, which asks there for its settings and may wait long
    test::Process manager{GetParam(), {{"XDG_CONFIG_HOME", folder.path()}}};
};

TEST_P(PopoverUnderAWindowManager, ItTakesTheKeyboardAndGivesItBack) {
    const auto editor = makeManaged();
    open(item);
    ASSERT_TRUE(application.runUntil([&] { return focused(server) != editor; }));
    test::Process({"xdotool", "key", "h", "i"}).waitForEnd();
    EXPECT_TRUE(application.runUntil([&] { return model.typed() == QStringLiteral("hi"); }))
        << model.typed().toStdString();
    popover->performClose();
    EXPECT_TRUE(application.runUntil([&] { return focused(server) == editor; }));
}

TEST_P(PopoverUnderAWindowManager, ItLeavesTheKeyboardToWhoTookIt) {
    const auto editor = makeManaged();
    open(item);
    ASSERT_TRUE(application.runUntil([&] { return focused(server) != editor; }));
    const auto terminal = makeManaged();
    popover->performClose();
    server.synchronize();
    EXPECT_EQ(focused(server), terminal);
}

TEST_P(PopoverUnderAWindowManager, ItIsInNoTaskListAndNoSwitcher) {
    const auto editor = makeManaged();
    open(item);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    EXPECT_EQ(property(server.root(), "_NET_CLIENT_LIST"), std::vector{editor});
    // A manager says that none is active while a window that is none of its own has the keyboard.
    const auto active = property(server.root(), "_NET_ACTIVE_WINDOW").front();
    EXPECT_TRUE(active == editor || active == XCB_WINDOW_NONE);
}

INSTANTIATE_TEST_SUITE_P(Managers, PopoverUnderAWindowManager,
                         testing::Values(std::vector<std::string>{"openbox"},
                                         std::vector<std::string>{"xfwm4", "--compositor=off"}),
                         [](const auto& manager) { return manager.param.front(); });

TEST_F(QuickPopoverTest, EscapeClosesItUnlessSomethingInItHasAUseForTheKey) {
    open(item);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) > 0; }));
    model.setUsesEscape(true);
    test::Process({"xdotool", "key", "Escape", "x"}).waitForEnd();
    ASSERT_TRUE(application.runUntil([&] { return model.typed().endsWith(QLatin1Char('x')); }));
    EXPECT_TRUE(popover->isShown());
    model.setUsesEscape(false);
    test::Process({"xdotool", "key", "Escape"}).waitForEnd();
    EXPECT_TRUE(application.runUntil([&] { return !popover->isShown(); }));
    EXPECT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 0; }));
}

TEST_F(QuickPopoverTest, IsMadeReadyAMomentAfterTheLaunch) {
    EXPECT_EQ(scenes, 0);
    loop.advance(QuickPopoverHost::preparationDelay);
    const QPointer<QObject> prepared = scene();
    ASSERT_NE(prepared, nullptr);
    EXPECT_FALSE(popover->isShown());
    EXPECT_FALSE(QGuiApplication::topLevelWindows().value(0)->isVisible());
    open(item);
    EXPECT_EQ(scene(), prepared);
    EXPECT_EQ(scenes, 1);
    EXPECT_EQ(shownChanges, std::vector{true});
}

TEST_F(QuickPopoverTest, IsMadeAtAnOpeningThatComesSoonerAndKeptFromOneToTheNext) {
    EXPECT_EQ(scenes, 0);
    open(item);
    const QPointer<QObject> first = scene();
    ASSERT_NE(first, nullptr);
    popover->performClose();
    loop.advance(QuickPopoverHost::sceneLife - Seconds(1));
    open(item);
    EXPECT_EQ(scene(), first);
    loop.advance(QuickPopoverHost::sceneLife);
    EXPECT_EQ(scene(), first) << "as long as it is open";
    EXPECT_EQ(scenes, 1);
    EXPECT_EQ(shownChanges, (std::vector{true, false, true}));
}

TEST_F(QuickPopoverTest, GivesItsSceneUpAWhileAfterClosingAndMakesItAgain) {
    open(item);
    const QPointer<QObject> first = scene();
    popover->performClose();
    loop.advance(QuickPopoverHost::sceneLife);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(givenUp, 1);
    EXPECT_EQ(loop.timerCount(), 0U);
    open(item);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.count(bodyColor) == 340U * 560U; }));
    test::Process({"xdotool", "key", "k"}).waitForEnd();
    EXPECT_TRUE(application.runUntil([&] { return model.typed() == QStringLiteral("k"); }));
    EXPECT_EQ(scenes, 1) << "what the views stand on lasts";
}

TEST_F(QuickPopoverTest, ShowingItAgainMovesItAndTellsNobody) {
    open(item);
    ASSERT_TRUE(screenBecomes([](const auto& screen) { return screen.at(1280 - 9, 300) == bodyColor; }));
    open(Rectangle{.x = 20, .y = 780, .width = 20, .height = 20});
    EXPECT_TRUE(screenBecomes([](const auto& screen) { return screen.at(10, 300) == bodyColor; }));
    EXPECT_EQ(shownChanges, std::vector{true});
    popover->performClose();
    popover->performClose();
    EXPECT_EQ(shownChanges, (std::vector{true, false}));
}

} // namespace
} // namespace nocta
