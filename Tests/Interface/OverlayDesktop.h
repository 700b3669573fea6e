#pragma once

#include "BreakContent.h"
#include "Interface/BreakOverlay/QuickWindowHost.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/X11/X11SurfaceHost.h"
#include "Support/Eventually.h"
#include "Support/ForeignWindow.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"
#include "WaitingLoop.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QImage>

#include <gtest/gtest.h>

namespace nocta::test {

/// A server of its own, the program's application on it, and the overlay's real windows. Somebody has to call `begin`
/// when the screens are as they should be.
class OverlaySession : public testing::Test {
  protected:
    static constexpr QRgb wallpaper = 0xff4080c0;
    /// (0.05, 0.03, 0) of 255, rounded.
    static constexpr QRgb background = 0xff0d0800;

    void begin() {
        setWallpaper();
        application.emplace("xcb", arguments.data(), nullptr);
        surfaces.emplace(loop);
        host.emplace(*surfaces, loop, [] {});
    }

    ~OverlaySession() override {
        window.reset();
        host.reset();
        // Programs on the screen end before the server does.
        programs.clear();
    }

    static void run(std::vector<std::string> command) {
        Process process(std::move(command));
        const auto ending = process.waitForEnd();
        ASSERT_EQ(ending, Ending{.exitStatus = 0}) << process.errors();
    }

    /// Starts a program that runs until the test ends.
    Process& launch(std::vector<std::string> command) {
        return *programs.emplace_back(std::make_unique<Process>(std::move(command)));
    }

    void startWindowManager(const std::string& name) {
        // xfwm4 without its own compositor, so that each test has the one it asks for.
        launch(name == "xfwm4" ? std::vector<std::string>{"xfwm4", "--compositor=off"} : std::vector{name});
        const XConnection server;
        const auto check = server.atom("_NET_SUPPORTING_WM_CHECK");
        const auto state = server.atom("WM_STATE");
        // While it starts, a window manager may overlook a window that opens.
        ASSERT_TRUE(eventually([&] {
            if (!hasProperty(server, server.root(), check)) {
                return false;
            }
            const ForeignWindow attempt(0, 0, 10, 10, 0);
            return eventually([&] { return hasProperty(server, attempt.id(), state) && attempt.isViewable(); },
                              std::chrono::milliseconds(300));
        })) << name;
    }

    /// As wallpaper setters do it: compositors want to know the picture.
    void setWallpaper() {
        const auto picture = xcb_generate_id(wallpaperOwner.get());
        const auto context = xcb_generate_id(wallpaperOwner.get());
        const std::uint32_t color = wallpaper & 0xffffffU;
        constexpr std::uint8_t depth = 24;
        constexpr std::uint16_t size = 16;
        const xcb_rectangle_t all{.x = 0, .y = 0, .width = size, .height = size};
        xcb_create_pixmap(wallpaperOwner.get(), depth, picture, wallpaperOwner.root(), size, size);
        xcb_create_gc(wallpaperOwner.get(), context, picture, XCB_GC_FOREGROUND, &color);
        xcb_poly_fill_rectangle(wallpaperOwner.get(), picture, context, 1, &all);
        xcb_change_window_attributes(wallpaperOwner.get(), wallpaperOwner.root(), XCB_CW_BACK_PIXMAP, &picture);
        xcb_clear_area(wallpaperOwner.get(), 0, wallpaperOwner.root(), 0, 0, 0, 0);
        for (const auto* property : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
            xcb_change_property(wallpaperOwner.get(), XCB_PROP_MODE_REPLACE, wallpaperOwner.root(),
                                wallpaperOwner.atom(property), XCB_ATOM_PIXMAP, 32, 1, &picture);
        }
        wallpaperOwner.synchronize();
    }

    static bool hasProperty(const XConnection& server, xcb_window_t target, xcb_atom_t property) {
        const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            server.get(), xcb_get_property(server.get(), 0, target, property, XCB_ATOM_ANY, 0, 0), nullptr));
        return reply && reply->type != XCB_ATOM_NONE;
    }

    static bool hasCompositor() {
        const XConnection server;
        const XReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
            server.get(), xcb_get_selection_owner(server.get(), server.atom("_NET_WM_CM_S0")), nullptr));
        return owner && owner->owner != XCB_WINDOW_NONE;
    }

    Process& startCompositor() {
        auto& compositor = launch({"picom", "--backend", "xrender", "--config", "/dev/null"});
        EXPECT_TRUE(runUntil([] { return hasCompositor(); }));
        // It says that it is there before it draws; meanwhile the screen may be black. So wait for a blended window.
        {
            const ForeignWindow sign(2000, 700, 20, 20, 0xff0000, ForeignWindow::Kind::override);
            const std::uint32_t half = UINT32_MAX / 2;
            xcb_change_property(wallpaperOwner.get(), XCB_PROP_MODE_REPLACE, sign.id(),
                                wallpaperOwner.atom("_NET_WM_WINDOW_OPACITY"), XCB_ATOM_CARDINAL, 32, 1, &half);
            wallpaperOwner.synchronize();
            EXPECT_TRUE(runUntil([] { return std::abs(qRed(pixel(2010, 710)) - (255 + qRed(wallpaper)) / 2) <= 2; }));
        }
        EXPECT_TRUE(runUntil([] { return pixel(2010, 710) == wallpaper; }));
        return compositor;
    }

    /// Lets the program run for that long, for what must not happen.
    static void runFor(std::chrono::milliseconds duration) {
        runUntil([] { return false; }, duration);
    }

    /// Makes and shows an overlay as a break does.
    void present(Seconds fade = Seconds(0.05)) {
        makeWindow();
        window->orderFrontRegardless();
        host->activateIgnoringOtherApps();
        isFadedIn = false;
        window->animateAlpha(1, fade, TimingFunction::easeOut, [this] { isFadedIn = true; });
    }

    void makeWindow() {
        const auto screen = host->mainScreen().value_or(host->screens().front());
        window = host->makeOverlayWindow(breakStyle(screen.frame), [this] { ++skips; });
        window->setContent(breakContent(20));
    }

    /// What is on the screen: the whole root window.
    static QImage screenshot() {
        const XConnection server;
        const XReply<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), server.root()), nullptr));
        return screenshot(QRect(0, 0, size->width, size->height));
    }

    static QImage screenshot(const QRect& area) {
        const XConnection server;
        const XReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            server.get(),
            xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), static_cast<std::int16_t>(area.x()),
                          static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                          static_cast<std::uint16_t>(area.height()), ~0U),
            nullptr));
        if (!reply) { // not all of it is on the screen, which may just be changing
            QImage nothing(area.size(), QImage::Format_RGB32);
            nothing.fill(Qt::magenta);
            return nothing;
        }
        return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), QImage::Format_RGB32).copy();
    }

    static QRgb pixel(int x, int y) { return screenshot(QRect(x, y, 1, 1)).pixel(0, 0) | 0xff000000; }

    /// Where a screen is; empty where there is none of that name.
    [[nodiscard]] QRect area(const std::string& screenName) const {
        for (const auto& screen : host->screens()) {
            if (screen.name == screenName) {
                return QRectF(screen.frame.x, screen.frame.y, screen.frame.width, screen.frame.height).toRect();
            }
        }
        return {};
    }

    /// Whether the corners of that area show the overlay's background over the wallpaper, or opaque.
    static bool covers(const QRect& area) {
        return isDark(pixel(area.left(), area.top())) && isDark(pixel(area.right(), area.top())) &&
               isDark(pixel(area.left(), area.bottom())) && isDark(pixel(area.right(), area.bottom()));
    }

    /// The background with at most a twentieth of something else in each channel.
    static bool isDark(QRgb color) {
        constexpr int twentieth = 13;
        return std::abs(qRed(color) - qRed(background)) <= twentieth &&
               std::abs(qGreen(color) - qGreen(background)) <= twentieth &&
               std::abs(qBlue(color) - qBlue(background)) <= twentieth;
    }

    static void moveMouse(int x, int y) { run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)}); }
    static void click(int x, int y) {
        run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
    }
    static void typeKey(const std::string& key) { run({"xdotool", "key", "--clearmodifiers", key}); }

    XServer xServer;
    XConnection wallpaperOwner;
    std::string name = "nocta";
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::optional<QtApplication> application;
    QtRunLoop loop;
    std::optional<X11SurfaceHost> surfaces;
    std::optional<QuickWindowHost> host;
    SessionBus bus; ///< for xfwm4, which asks there for its settings and may wait long
    std::vector<std::unique_ptr<Process>> programs;
    std::unique_ptr<OverlayWindow> window;
    bool isFadedIn = false;
    int skips = 0;
};

/// Two screens side by side, the left one the main one.
class OverlayDesktop : public OverlaySession {
  protected:
    OverlayDesktop() {
        run({"xrandr", "--addmode", "DUMMY1", "1280x800"});
        run({"xrandr", "--output", "DUMMY0", "--mode", "1280x800", "--pos", "0x0", "--primary", "--output", "DUMMY1",
             "--mode", "1280x800", "--pos", "1280x0"});
        begin();
    }

    void presentAndWait() {
        present();
        ASSERT_TRUE(runUntil([this] { return isFadedIn && covers(mainArea); }));
    }

    static constexpr QRect mainArea{0, 0, 1280, 800};
    static constexpr QRect secondArea{1280, 0, 1280, 800};
};

} // namespace nocta::test
