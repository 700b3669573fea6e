#include "Platform/DBus/NotifierStatusItem.h"

#include "QtLoop.h"
#include "Support/Panel.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QThread>

namespace nocta {
namespace {

using test::PanelKind;

constexpr std::uint32_t orange = 0xFF9F0A;
constexpr std::uint32_t blue = 0x0A84FF;

StatusButton button(std::uint32_t rgb, const std::string& title = {}) {
    const auto component = [rgb](unsigned shift) { return (rgb >> shift & 0xFFU) / 255.0; };
    return {.image = {.symbolName = "eye.fill",
                      .accessibilityDescription = "Nocta",
                      .color = {.red = component(16), .green = component(8), .blue = component(0)}},
            .title = title,
            .imagePosition = ImagePosition::imageLeft,
            .toolTip = "3400K"};
}

/// A square of the tint; with a caption, half of one.
Raster paintSquare(const SymbolImage& image, std::string_view caption, std::int32_t size) {
    const auto byte = [](double value) { return static_cast<std::uint32_t>(std::lround(value * 255)); };
    const std::uint32_t color =
        0xFF000000U | byte(image.color.red) << 16U | byte(image.color.green) << 8U | byte(image.color.blue);
    const auto pixels = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    Raster raster{.size = size, .pixels = std::vector<std::uint32_t>(pixels, color)};
    if (!caption.empty()) {
        std::fill(raster.pixels.begin() + static_cast<std::ptrdiff_t>(pixels / 2), raster.pixels.end(), 0U);
    }
    return raster;
}

QString watcherName() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

/// On the bus only: what a host would read and call.
class NotifierStatusItemTest : public testing::Test {
  protected:
    static QDBusConnection other() {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other"));
    }

    [[nodiscard]] std::unique_ptr<NotifierStatusItem> makeItem() {
        auto item = std::make_unique<NotifierStatusItem>(paintSquare);
        item->setHostObserver([this](bool newHasHost) { hasHost = newHasHost; });
        item->setAction(mouseevent::leftUp | mouseevent::rightUp, [this] { ++clicks; });
        item->setMenu(
            {{.title = "Open", .action = [this] { ++openings; }}, {.title = "Quit_it", .action = [this] { ++quits; }}});
        return item;
    }

    QDBusMessage ask(const QString& path, const QString& interface, const QString& member,
                     const QVariantList& arguments) {
        auto message =
            QDBusMessage::createMethodCall(QDBusConnection::sessionBus().baseService(), path, interface, member);
        message.setArguments(arguments);
        const auto pending = other().asyncCall(message);
        EXPECT_TRUE(loop.runUntil([&] { return pending.isFinished(); }));
        return pending.reply();
    }
    QDBusMessage askItem(const QString& member, const QVariantList& arguments) {
        return ask(QStringLiteral("/StatusNotifierItem"), QStringLiteral("org.kde.StatusNotifierItem"), member,
                   arguments);
    }
    QDBusMessage askMenu(const QString& member, const QVariantList& arguments) {
        return ask(QStringLiteral("/MenuBar"), QStringLiteral("com.canonical.dbusmenu"), member, arguments);
    }
    QVariantMap properties() {
        const auto reply = ask(QStringLiteral("/StatusNotifierItem"), QStringLiteral("org.freedesktop.DBus.Properties"),
                               QStringLiteral("GetAll"), {QStringLiteral("org.kde.StatusNotifierItem")});
        return qdbus_cast<QVariantMap>(reply.arguments().value(0));
    }

    /// Side and first and last pixel of every picture.
    struct Picture {
        int width = 0;
        int height = 0;
        QByteArray pixels;
    };
    static std::vector<Picture> pictures(const QVariant& value) {
        std::vector<Picture> all;
        const auto argument = value.value<QDBusArgument>();
        argument.beginArray();
        while (!argument.atEnd()) {
            Picture picture;
            argument.beginStructure();
            argument >> picture.width >> picture.height >> picture.pixels;
            argument.endStructure();
            all.push_back(picture);
        }
        argument.endArray();
        return all;
    }

    test::SessionBus bus;
    test::QtLoop loop;
    std::optional<bool> hasHost;
    int clicks = 0;
    int openings = 0;
    int quits = 0;
};

/// A watcher, for desktops that are too large to run here. It says of itself what the test wants, and answers on a
/// thread of its own.
class Watcher final : public QDBusVirtualObject {
  public:
    explicit Watcher(QStringList names) : names(std::move(names)) {
        moveToThread(&thread);
        thread.start();
        bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        for (const auto& name : this->names) {
            bus.registerService(name);
        }
        bus.registerService(watcherName());
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;
    ~Watcher() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("watcher"));
        thread.quit();
        thread.wait();
    }

    void setHost(bool newHasHost) {
        hasHost = newHasHost;
        bus.send(QDBusMessage::createSignal(QStringLiteral("/StatusNotifierWatcher"), watcherName(),
                                            newHasHost ? QStringLiteral("StatusNotifierHostRegistered")
                                                       : QStringLiteral("StatusNotifierHostUnregistered")));
    }
    [[nodiscard]] int registrations() const { return registered; }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == QStringLiteral("RegisterStatusNotifierItem")) {
            ++registered;
            return connection.send(message.createReply());
        }
        if (message.member() == QStringLiteral("Get")) {
            return connection.send(
                message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(hasHost.load())))));
        }
        return false;
    }

  private:
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("watcher"));
    QStringList names;
    std::atomic<bool> hasHost = true;
    std::atomic<int> registered = 0;
    QThread thread;
};

TEST_F(NotifierStatusItemTest, HasNoHostWithoutAWatcher) {
    const auto item = makeItem();
    EXPECT_TRUE(loop.runUntil([&] { return hasHost.has_value(); }));
    EXPECT_EQ(hasHost, false);
    item->setButton(button(orange));
    EXPECT_EQ(*item->button(), button(orange));
    EXPECT_EQ(item->frame(), std::nullopt);
}

TEST_F(NotifierStatusItemTest, WithoutABusHasNoHostSilently) {
    for (const char* address : {"", "unix:path=/nonexistent/bus", "nonsense"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        hasHost.reset();
        const auto item = makeItem();
        item->setButton(button(orange));
        EXPECT_TRUE(loop.runUntil([&] { return hasHost.has_value(); })) << address;
        EXPECT_EQ(hasHost, false);
    }
}

TEST_F(NotifierStatusItemTest, OffersItsPicturesAtThePanelsSizesAndTheirDoubles) {
    const auto item = makeItem();
    item->setButton(button(orange));
    std::vector<int> sizes;
    for (const auto& picture : pictures(properties().value(QStringLiteral("IconPixmap")))) {
        EXPECT_EQ(picture.width, picture.height);
        sizes.push_back(picture.width);
        ASSERT_EQ(picture.pixels.size(), 4 * picture.width * picture.height);
        EXPECT_EQ(picture.pixels.first(4), QByteArray("\xff\xff\x9f\x0a", 4)) << "alpha, red, green, blue";
    }
    EXPECT_EQ(sizes, (std::vector{16, 22, 24, 32, 44, 48, 64, 96}));
}

TEST_F(NotifierStatusItemTest, TellsHostsAndScreenReadersWhatItIs) {
    const auto item = makeItem();
    item->setButton(button(orange, " 87"));
    const auto all = properties();
    EXPECT_EQ(all.value(QStringLiteral("Id")).toString(), QStringLiteral("org.nocta.Nocta"));
    EXPECT_EQ(all.value(QStringLiteral("Title")).toString(), QStringLiteral("Nocta"));
    EXPECT_EQ(all.value(QStringLiteral("IconAccessibleDesc")).toString(), QStringLiteral("Nocta"));
    EXPECT_EQ(all.value(QStringLiteral("Status")).toString(), QStringLiteral("Active"));
    EXPECT_EQ(all.value(QStringLiteral("WindowId")).typeId(), QMetaType::Int);
    EXPECT_EQ(all.value(QStringLiteral("ItemIsMenu")), QVariant(false));
    const auto toolTip = all.value(QStringLiteral("ToolTip")).value<QDBusArgument>();
    EXPECT_EQ(toolTip.currentSignature(), QStringLiteral("(sa(iiay)ss)"));
}

TEST_F(NotifierStatusItemTest, DrawsTheTitleIntoThePictureWhereNoLabelsAreShown) {
    const auto item = makeItem();
    item->setButton(button(orange, " 87"));
    const auto all = properties();
    EXPECT_EQ(all.value(QStringLiteral("XAyatanaLabel")).toString(), QString());
    EXPECT_EQ(pictures(all.value(QStringLiteral("IconPixmap"))).front().pixels.back(), '\0');
    EXPECT_FALSE(all.contains(QStringLiteral("Menu"))) << "hosts would show it in place of a right click";
}

TEST_F(NotifierStatusItemTest, GivesHostsThatShowThemALabelAndAMenu) {
    const auto item = makeItem();
    item->setButton(button(orange, " 87"));
    Watcher watcher({QStringLiteral("org.gnome.Shell")});
    ASSERT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    const auto all = properties();
    EXPECT_EQ(all.value(QStringLiteral("XAyatanaLabel")).toString(), QStringLiteral("87"));
    EXPECT_NE(pictures(all.value(QStringLiteral("IconPixmap"))).front().pixels.back(), '\0');
    EXPECT_EQ(all.value(QStringLiteral("Menu")).value<QDBusObjectPath>().path(), QStringLiteral("/MenuBar"));
}

TEST_F(NotifierStatusItemTest, FollowsTheWatcherAndItsHosts) {
    const auto item = makeItem();
    ASSERT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    {
        Watcher watcher({});
        EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }));
        EXPECT_EQ(watcher.registrations(), 1);
        watcher.setHost(false);
        EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
        watcher.setHost(true);
        EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    }
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    Watcher successor({});
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    EXPECT_EQ(successor.registrations(), 1);
}

TEST_F(NotifierStatusItemTest, GivesItsNameBack) {
    Watcher watcher({});
    const auto names = [&] {
        const auto all = other().interface()->registeredServiceNames().value();
        return std::ranges::count_if(
            all, [](const QString& name) { return name.startsWith(QStringLiteral("org.kde.StatusNotifierItem-")); });
    };
    auto item = makeItem();
    ASSERT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    EXPECT_EQ(names(), 1);
    item.reset();
    EXPECT_TRUE(loop.runUntil([&] { return names() == 0; }));
}

TEST_F(NotifierStatusItemTest, HandsOnLeftAndRightClicksWithTheirPlace) {
    const auto item = makeItem();
    EXPECT_EQ(askItem(QStringLiteral("Activate"), {800, 12}).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 1; }));
    EXPECT_EQ(item->frame(), (Rectangle{.x = 800, .y = 12}));
    EXPECT_EQ(askItem(QStringLiteral("ContextMenu"), {810, 14}).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 2; }));
    EXPECT_EQ(item->frame(), (Rectangle{.x = 810, .y = 14}));
    EXPECT_EQ(askItem(QStringLiteral("Activate"), {0, 0}).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 3; }));
    EXPECT_EQ(item->frame(), (Rectangle{.x = 810, .y = 14})) << "by the keyboard";
}

TEST_F(NotifierStatusItemTest, IgnoresTheMiddleButtonAndTheWheelAndRefusesWrongCalls) {
    const auto item = makeItem();
    EXPECT_EQ(askItem(QStringLiteral("SecondaryActivate"), {1, 1}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(askItem(QStringLiteral("Scroll"), {120, QStringLiteral("vertical")}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(askItem(QStringLiteral("ProvideXdgActivationToken"), {QStringLiteral("token")}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(askItem(QStringLiteral("Activate"), {QStringLiteral("text")}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(askItem(QStringLiteral("Explode"), {}).type(), QDBusMessage::ErrorMessage);
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(clicks, 0);
}

TEST_F(NotifierStatusItemTest, ItsMenuHasTheEntriesAndCarriesThemOut) {
    const auto item = makeItem();
    const auto layout = askMenu(QStringLiteral("GetLayout"), {0, -1, QStringList()});
    EXPECT_EQ(layout.signature(), QStringLiteral("u(ia{sv}av)"));
    const auto label = [&](int id) {
        const auto reply = askMenu(QStringLiteral("GetProperty"), {id, QStringLiteral("label")});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    };
    EXPECT_EQ(label(1), QStringLiteral("Open"));
    EXPECT_EQ(label(2), QStringLiteral("Quit__it")) << "no mnemonic";
    EXPECT_EQ(askMenu(QStringLiteral("GetProperty"), {3, QStringLiteral("label")}).type(), QDBusMessage::ErrorMessage);

    const auto event = [&](int id, const QString& type) {
        askMenu(QStringLiteral("Event"), {id, type, QVariant::fromValue(QDBusVariant(0)), 0U});
    };
    event(1, QStringLiteral("hovered"));
    event(7, QStringLiteral("clicked"));
    event(2, QStringLiteral("clicked"));
    event(1, QStringLiteral("clicked"));
    EXPECT_TRUE(loop.runUntil([&] { return openings == 1; }));
    EXPECT_EQ(quits, 1);
}

/// In the panels of real desktops.
class PanelTest : public NotifierStatusItemTest {
  protected:
    /// Whether that many pixels of the colour come to be on the screen.
    bool screenShows(std::uint32_t color, std::size_t atLeast) {
        return loop.runUntil([&] { return test::ScreenPicture().count(color) >= atLeast; }, std::chrono::seconds(30));
    }
    static void click(const test::Point& point, int mouseButton) {
        test::Process({"xdotool", "mousemove", std::to_string(point.x), std::to_string(point.y), "click",
                       std::to_string(mouseButton)})
            .waitForEnd();
    }

    test::XServer xServer;
};

class PanelItemTest : public PanelTest, public testing::WithParamInterface<PanelKind> {};

constexpr std::size_t wholeIcon = std::size_t{22} * 22;

TEST_P(PanelItemTest, AppearsInItsColourAndFollowsChanges) {
    const test::Panel panel(GetParam());
    const auto item = makeItem();
    item->setButton(button(orange));
    EXPECT_TRUE(screenShows(orange, wholeIcon));
    item->setButton(button(blue));
    EXPECT_TRUE(screenShows(blue, wholeIcon));
    EXPECT_EQ(test::ScreenPicture().count(orange), 0U);
}

TEST_P(PanelItemTest, ALeftClickArrivesWithItsPlace) {
    const test::Panel panel(GetParam());
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, wholeIcon));
    const auto place = test::ScreenPicture().middle(orange).value();
    click(place, 1);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 1; }));
    EXPECT_EQ(item->frame(), (Rectangle{.x = static_cast<double>(place.x), .y = static_cast<double>(place.y)}));
}

TEST_P(PanelItemTest, APanelThatIsKilledAndStartedAgainShowsItAgain) {
    test::Panel panel(GetParam());
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, wholeIcon));
    panel.kill();
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    panel.start();
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }, std::chrono::seconds(30)));
    EXPECT_TRUE(screenShows(orange, wholeIcon));
}

INSTANTIATE_TEST_SUITE_P(Panels, PanelItemTest, testing::Values(PanelKind::xfce, PanelKind::lxqt),
                         [](const auto& panel) { return panel.param == PanelKind::xfce ? "xfce" : "lxqt"; });

TEST_F(PanelTest, ARightClickArrivesFromLxqt) {
    const test::Panel panel(PanelKind::lxqt);
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, wholeIcon));
    click(test::ScreenPicture().middle(orange).value(), 3);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 1; }));
}

TEST_F(PanelTest, ARightClickOpensTheMenuInXfce) {
    const test::Panel panel(PanelKind::xfce);
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, wholeIcon));
    const auto place = test::ScreenPicture().middle(orange).value();
    // The panel reads the menu some time after it has shown the icon, and shows its own one until then.
    const auto openIsChosen = [&] {
        click(place, 3);
        loop.runFor(std::chrono::milliseconds(300));
        test::Process({"xdotool", "key", "Down", "Return"}).waitForEnd();
        return loop.runUntil([&] { return openings == 1; }, std::chrono::seconds(1)) ||
               (test::Process({"xdotool", "key", "Escape", "Escape"}).waitForEnd(), false);
    };
    EXPECT_TRUE(loop.runUntil(openIsChosen, std::chrono::seconds(30)));
    EXPECT_EQ(clicks, 0);
}

} // namespace
} // namespace nocta
