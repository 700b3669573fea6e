#include "Platform/X11/TrayStatusItem.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace nocta {

namespace {

/// Until the tray gives the window its own size.
constexpr std::uint16_t initialSide = 22;
constexpr std::uint8_t opaqueDepth = 24;
constexpr std::uint8_t translucentDepth = 32;
constexpr std::uint8_t eventTypeBits = 0x7f;

xcb_screen_t* screenOf(const XConnection& server) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(server.get()));
    for (; screens.rem > 0; xcb_screen_next(&screens)) {
        if (screens.data->root == server.root()) {
            return screens.data;
        }
    }
    return nullptr;
}

std::uint8_t depthOf(const xcb_screen_t& screen, xcb_visualid_t visual) {
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == visual) {
                return depths.data->depth;
            }
        }
    }
    return 0;
}

template <class Event>
const Event& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Event&>(event); // NOLINT: every event begins like this
}

std::uint32_t channel(std::uint32_t pixel, unsigned shift) {
    return pixel >> shift & 0xFFU;
}

/// `pixel`, not premultiplied, over `below`, which is opaque black for a picture that is to be premultiplied.
std::uint32_t over(std::uint32_t pixel, std::uint32_t below) {
    const std::uint32_t alpha = channel(pixel, 24);
    std::uint32_t result = alpha << 24U;
    for (const unsigned shift : {16U, 8U, 0U}) {
        result |= (channel(pixel, shift) * alpha + channel(below, shift) * (255 - alpha) + 127) / 255 << shift;
    }
    return result;
}

} // namespace

TrayStatusItem::TrayStatusItem(RunLoop& loop, SymbolPainter paint)
    : loop(loop), paint(std::move(paint)), client(loop, [this](const auto& event) { handle(event); }) {
    const auto& server = client.server();
    if (server.isLost()) {
        setHosted(false);
        return;
    }
    traySelection = server.atom("_NET_SYSTEM_TRAY_S" + std::to_string(server.screenNumber()));
    managerMessage = server.atom("MANAGER");
    // Where a tray that appears says so.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(client.get(), server.root(), XCB_CW_EVENT_MASK, &events);
    dock();
}

void TrayStatusItem::setButton(const StatusButton& button) {
    const bool looksOther = button.image != shownButton.image || button.title != shownButton.title;
    shownButton = button;
    if (looksOther) {
        draw();
    }
}

void TrayStatusItem::setAction(std::uint32_t newMask, std::function<void()> newAction) {
    mask = newMask;
    action = std::move(newAction);
}

std::optional<Rectangle> TrayStatusItem::frame() const {
    if (!isHosted.value_or(false)) {
        return std::nullopt;
    }
    const auto& server = client.server();
    const XReply<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        client.get(), xcb_translate_coordinates(client.get(), window, server.root(), 0, 0), nullptr));
    client.send();
    if (!place) {
        return std::nullopt;
    }
    return Rectangle{.x = static_cast<double>(place->dst_x),
                     .y = static_cast<double>(place->dst_y),
                     .width = static_cast<double>(width),
                     .height = static_cast<double>(height)};
}

void TrayStatusItem::setHostObserver(std::function<void(bool hasHost)> newObserver) {
    observer = std::move(newObserver);
    if (isHosted) {
        tellHost();
    }
}

void TrayStatusItem::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & eventTypeBits) {
    case XCB_CLIENT_MESSAGE: {
        const auto& message = as<xcb_client_message_event_t>(event);
        if (message.type == managerMessage && message.data.data32[1] == traySelection) {
            dock();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto gone = as<xcb_destroy_notify_event_t>(event).window;
        if (gone == window && window != XCB_WINDOW_NONE) {
            window = XCB_WINDOW_NONE; // the tray took it along
            forgetWindow();
        }
        if (gone == tray && tray != XCB_WINDOW_NONE) {
            tray = XCB_WINDOW_NONE;
            dock(); // another one may have taken over
        }
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto& moved = as<xcb_reparent_notify_event_t>(event);
        if (moved.window == window) {
            setHosted(moved.parent != client.server().root());
        }
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = as<xcb_configure_notify_event_t>(event);
        if (configured.window == window && (configured.width != width || configured.height != height)) {
            width = configured.width;
            height = configured.height;
            draw();
        }
        break;
    }
    case XCB_EXPOSE:
        if (as<xcb_expose_event_t>(event).count == 0) {
            draw();
        }
        break;
    case XCB_BUTTON_RELEASE: {
        const auto& button = as<xcb_button_release_event_t>(event);
        const bool isInside =
            button.event_x >= 0 && button.event_y >= 0 && button.event_x < width && button.event_y < height;
        const std::uint32_t released = button.detail == XCB_BUTTON_INDEX_1   ? mouseevent::leftUp
                                       : button.detail == XCB_BUTTON_INDEX_3 ? mouseevent::rightUp
                                                                             : 0;
        if (isInside && (mask & released) != 0 && action) {
            // Not from within the connection that the action may ask.
            loop.async(action);
        }
        break;
    }
    default:
        break;
    }
}

void TrayStatusItem::dock() {
    const auto& server = client.server();
    {
        // Between the question and the wish to hear of its end no tray may go.
        const ServerGrab grab(server);
        const XReply<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(client.get(), xcb_get_selection_owner(client.get(), traySelection), nullptr));
        tray = owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
        if (tray != XCB_WINDOW_NONE) {
            const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
            xcb_change_window_attributes(client.get(), tray, XCB_CW_EVENT_MASK, &events);
        }
    }
    forgetWindow();
    if (tray != XCB_WINDOW_NONE) {
        makeWindow(trayVisual());
        xcb_client_message_event_t request{};
        request.response_type = XCB_CLIENT_MESSAGE;
        request.format = 32;
        request.window = tray;
        request.type = server.atom("_NET_SYSTEM_TRAY_OPCODE");
        constexpr std::uint32_t requestDock = 0;
        request.data.data32[0] = XCB_CURRENT_TIME;
        request.data.data32[1] = requestDock;
        request.data.data32[2] = window;
        std::array<char, 32> bytes{};
        std::memcpy(bytes.data(), &request, bytes.size());
        xcb_send_event(client.get(), 0, tray, XCB_EVENT_MASK_NO_EVENT, bytes.data());
    }
    client.send();
}

TrayStatusItem::Visual TrayStatusItem::trayVisual() const {
    const auto& server = client.server();
    const auto* screen = screenOf(server);
    if (screen == nullptr) {
        return {};
    }
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        client.get(),
        xcb_get_property(client.get(), 0, tray, server.atom("_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 0, 1),
        nullptr));
    if (reply && reply->format == 32 && reply->value_len == 1) {
        Visual offered;
        std::memcpy(&offered.id, xcb_get_property_value(reply.get()), sizeof offered.id);
        offered.depth = depthOf(*screen, offered.id);
        if (offered.depth == translucentDepth) {
            return offered;
        }
    }
    return {.id = screen->root_visual, .depth = screen->root_depth};
}

void TrayStatusItem::makeWindow(const Visual& newVisual) {
    const auto& server = client.server();
    visual = newVisual;
    window = xcb_generate_id(client.get());
    // Trays read it from the window, so it lives as long.
    colormap = xcb_generate_id(client.get());
    xcb_create_colormap(client.get(), XCB_COLORMAP_ALLOC_NONE, colormap, server.root(), visual.id);
    const bool isTranslucent = visual.depth == translucentDepth;
    const std::array<std::uint32_t, 4> values{
        isTranslucent ? 0U : static_cast<std::uint32_t>(XCB_BACK_PIXMAP_PARENT_RELATIVE), 0,
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS |
            XCB_EVENT_MASK_BUTTON_RELEASE,
        colormap};
    width = initialSide;
    height = initialSide;
    // Beside the pixel value and the pixmap of the background there is one number for each.
    xcb_create_window(client.get(), visual.depth, window, server.root(), -1, -1, width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.id,
                      (isTranslucent ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP) | XCB_CW_BORDER_PIXEL |
                          XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values.data());

    constexpr std::uint32_t protocolVersion = 0;
    constexpr std::uint32_t mapped = 1;
    const std::array<std::uint32_t, 2> embedding{protocolVersion, mapped};
    const auto information = server.atom("_XEMBED_INFO");
    xcb_change_property(client.get(), XCB_PROP_MODE_REPLACE, window, information, information, 32, embedding.size(),
                        embedding.data());
    constexpr std::string_view className{"nocta\0Nocta\0", 12};
    xcb_change_property(client.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(className.size()), className.data());
    constexpr std::string_view name = "Nocta";
    xcb_change_property(client.get(), XCB_PROP_MODE_REPLACE, window, server.atom("_NET_WM_NAME"),
                        server.atom("UTF8_STRING"), 8, static_cast<std::uint32_t>(name.size()), name.data());
    gc = xcb_generate_id(client.get());
    xcb_create_gc(client.get(), gc, window, 0, nullptr);
}

void TrayStatusItem::forgetWindow() {
    if (gc != 0) {
        xcb_free_gc(client.get(), std::exchange(gc, 0));
    }
    if (window != XCB_WINDOW_NONE) {
        xcb_destroy_window(client.get(), std::exchange(window, XCB_WINDOW_NONE));
    }
    if (colormap != XCB_NONE) {
        xcb_free_colormap(client.get(), std::exchange(colormap, XCB_NONE));
    }
    setHosted(false);
    client.send();
}

void TrayStatusItem::draw() {
    if (window == XCB_WINDOW_NONE || !isHosted.value_or(false) || width == 0 || height == 0) {
        return;
    }
    if (visual.depth == translucentDepth) {
        putPicture(std::vector<std::uint32_t>(static_cast<std::size_t>(width) * height, 0));
        return;
    }
    if (visual.depth != opaqueDepth) {
        return; // screens of few colours have no place for this
    }
    // The tray's own picture below the window, on which ours is laid.
    xcb_clear_area(client.get(), 0, window, 0, 0, 0, 0);
    const auto question = xcb_get_image(client.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, width, height, ~0U);
    client.ask<xcb_get_image_reply_t>(
        question.sequence, [this, size = static_cast<std::size_t>(width) * height](auto reply) {
            if (!reply || window == XCB_WINDOW_NONE || size != static_cast<std::size_t>(width) * height ||
                static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) != size * sizeof(std::uint32_t)) {
                return;
            }
            std::vector<std::uint32_t> below(size);
            std::memcpy(below.data(), xcb_get_image_data(reply.get()), size * sizeof(std::uint32_t));
            putPicture(std::move(below));
        });
}

void TrayStatusItem::putPicture(std::vector<std::uint32_t> pixels) {
    auto caption = std::string_view(shownButton.title);
    caption.remove_prefix(std::min(caption.find_first_not_of(' '), caption.size()));
    const auto side = std::min(width, height);
    const auto raster = paint(shownButton.image, caption, side);
    const auto left = static_cast<std::size_t>(width - side) / 2;
    const auto top = static_cast<std::size_t>(height - side) / 2;
    for (std::size_t row = 0; row < side; ++row) {
        for (std::size_t column = 0; column < side; ++column) {
            auto& pixel = pixels[(top + row) * width + left + column];
            pixel = over(raster.pixels[row * side + column], pixel);
        }
    }
    xcb_put_image(client.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, gc, width, height, 0, 0, 0, visual.depth,
                  static_cast<std::uint32_t>(pixels.size() * sizeof(std::uint32_t)),
                  reinterpret_cast<const std::uint8_t*>(pixels.data())); // NOLINT: bytes in the server's own order
    client.send();
}

void TrayStatusItem::setHosted(bool newIsHosted) {
    if (std::exchange(isHosted, newIsHosted) != newIsHosted) {
        tellHost();
        draw();
    }
}

void TrayStatusItem::tellHost() {
    notice = loop.oneShot(Seconds(0), [this] {
        notice.reset();
        if (observer) {
            const auto running = observer; // the item may end in it
            running(*isHosted);
        }
    });
}

} // namespace nocta
