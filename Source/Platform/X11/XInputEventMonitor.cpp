#include "Platform/X11/XInputEventMonitor.h"

#include "Platform/X11/XkbProtocol.h"

#include <span>
#include <utility>

namespace nocta {

namespace {

/// Of the I key: X counts the kernel's key codes, which are places on the keyboard, from 8 on.
constexpr std::uint32_t keyCodeOfI = 23 + 8;
constexpr std::uint32_t leftButton = 1;
constexpr std::uint32_t rightButton = 3;

constexpr std::uint16_t xkbEvents =
    XCB_XKB_EVENT_TYPE_STATE_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY;

bool isDown(const xcb_input_query_device_state_reply_t& state, std::uint32_t key) {
    for (auto classes = xcb_input_query_device_state_classes_iterator(&state); classes.rem > 0;
         xcb_input_input_state_next(&classes)) {
        if (classes.data->class_id == XCB_INPUT_INPUT_CLASS_KEY) {
            xcb_input_input_state_data_t data{};
            xcb_input_input_state_data_unpack(xcb_input_input_state_data(classes.data), classes.data->class_id, &data);
            return (data.key.keys[key / 8] >> key % 8 & 1) != 0;
        }
    }
    return false;
}

} // namespace

template <class Monitor>
class XInputEventMonitor::Token final : public EventMonitorToken {
  public:
    Token(XInputEventMonitor& owner, Monitors<Monitor>& monitors, std::shared_ptr<Monitor> monitor)
        : owner(owner), monitors(monitors), monitor(std::move(monitor)) {}
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() override {
        *monitor = nullptr;
        std::erase(monitors, monitor);
        if (owner.available && monitors.empty()) {
            owner.select();
        }
    }

  private:
    XInputEventMonitor& owner;
    Monitors<Monitor>& monitors;
    std::shared_ptr<Monitor> monitor;
};

XInputEventMonitor::XInputEventMonitor(RunLoop& loop)
    : client(loop, [this](const xcb_generic_event_t& event) { handleEvent(event); }),
      processes(client),
      available(!client.server().isLost() && !client.server().isXwayland() && findExtensions()) {}

bool XInputEventMonitor::findExtensions() {
    const auto* input = xcb_get_extension_data(client.get(), &xcb_input_id);
    const auto* xkb = xcb_get_extension_data(client.get(), &xcb_xkb_id);
    if (input == nullptr || input->present == 0 || xkb == nullptr || xkb->present == 0) {
        return false;
    }
    inputOpcode = input->major_opcode;
    firstXkbEvent = xkb->first_event;
    // From 2.1 on, raw events also come while another client holds a grab; the server goes by what a client asks for.
    const auto versionQuestion = xcb_input_xi_query_version(client.get(), 2, 2);
    const auto xkbQuestion = xcb_xkb_use_extension(client.get(), 1, 0);
    const XReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(client.get(), versionQuestion, nullptr));
    const XReply<xcb_xkb_use_extension_reply_t> use(xcb_xkb_use_extension_reply(client.get(), xkbQuestion, nullptr));
    return version && (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 1)) &&
           use && use->supported != 0;
}

std::unique_ptr<EventMonitorToken>
XInputEventMonitor::addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) {
    return add(keyMonitors, std::move(handler));
}

std::unique_ptr<EventMonitorToken> XInputEventMonitor::addGlobalMouseDownMonitor(std::function<void()> handler) {
    return add(mouseMonitors, std::move(handler));
}

template <class Monitor>
std::unique_ptr<EventMonitorToken> XInputEventMonitor::add(Monitors<Monitor>& monitors, Monitor handler) {
    auto monitor = std::make_shared<Monitor>(std::move(handler));
    monitors.push_back(monitor);
    if (available && monitors.size() == 1) {
        select();
        client.server().synchronize();
    }
    return std::make_unique<Token<Monitor>>(*this, monitors, std::move(monitor));
}

template <class Monitor, class... Arguments>
void XInputEventMonitor::call(const Monitors<Monitor>& monitors, const Arguments&... arguments) {
    // They come and go meanwhile. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const auto called = monitors;
    for (const auto& monitor : called) {
        // It may end its own monitor, and has ended when another one ended it.
        if (const auto handler = *monitor) {
            handler(arguments...);
        }
    }
}

void XInputEventMonitor::select() {
    struct Selection {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    };
    Selection hierarchy{.head = {.deviceid = XCB_INPUT_DEVICE_ALL, .mask_len = 1}, .mask = 0};
    Selection raw{.head = {.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1}, .mask = 0};
    if (!keyMonitors.empty()) {
        hierarchy.mask |= XCB_INPUT_XI_EVENT_MASK_HIERARCHY;
        raw.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
        if (!isHeldOn.empty()) {
            raw.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
        }
    }
    if (!mouseMonitors.empty()) {
        raw.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    }
    for (const auto& selection : {hierarchy, raw}) {
        xcb_input_xi_select_events(client.get(), client.server().root(), 1, &selection.head);
    }
    if (keyMonitors.empty() != modifiersOf.empty()) {
        watchKeyboards();
    }
    client.send();
}

void XInputEventMonitor::watchKeyboards() {
    if (keyMonitors.empty()) {
        for (const auto& [keyboard, modifiers] : modifiersOf) {
            selectKeyboard(keyboard, false);
        }
        modifiersOf.clear();
        isHeldOn.clear();
        return;
    }
    const XReply<xcb_input_xi_query_device_reply_t> devices(xcb_input_xi_query_device_reply(
        client.get(), xcb_input_xi_query_device(client.get(), XCB_INPUT_DEVICE_ALL_MASTER), nullptr));
    if (!devices) {
        return;
    }
    std::vector<std::pair<Device, xcb_xkb_get_state_cookie_t>> questions;
    for (auto infos = xcb_input_xi_query_device_infos_iterator(devices.get()); infos.rem > 0;
         xcb_input_xi_device_info_next(&infos)) {
        if (infos.data->type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD) {
            selectKeyboard(infos.data->deviceid, true);
            questions.emplace_back(infos.data->deviceid, xcb_xkb_get_state(client.get(), infos.data->deviceid));
        }
    }
    for (const auto& [keyboard, question] : questions) {
        const XReply<xcb_xkb_get_state_reply_t> state(xcb_xkb_get_state_reply(client.get(), question, nullptr));
        modifiersOf[keyboard] = state ? std::optional<std::uint32_t>(state->mods) : std::nullopt;
    }
    isModifierMapRead = false;
}

void XInputEventMonitor::watchLater(Device keyboard) {
    modifiersOf[keyboard] = std::nullopt;
    selectKeyboard(keyboard, true);
    client.ask<xcb_xkb_get_state_reply_t>(xcb_xkb_get_state(client.get(), keyboard).sequence,
                                          [this, keyboard](const XReply<xcb_xkb_get_state_reply_t>& state) {
                                              // A change that was told meanwhile is as new or newer.
                                              if (const auto known = modifiersOf.find(keyboard);
                                                  state && known != modifiersOf.end() && !known->second) {
                                                  known->second = state->mods;
                                              }
                                          });
}

void XInputEventMonitor::selectKeyboard(Device keyboard, bool isWanted) {
    const std::uint16_t state = isWanted ? XCB_XKB_STATE_PART_MODIFIER_STATE : 0;
    const std::uint16_t map = isWanted ? XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP : 0;
    const std::uint16_t newKeyboard = isWanted ? XCB_XKB_NKN_DETAIL_KEYCODES : 0;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = newKeyboard;
    details.affectState = XCB_XKB_STATE_PART_MODIFIER_STATE;
    details.stateDetails = state;
    xcb_xkb_select_events_aux(client.get(), keyboard, xkbEvents, 0, 0,
                              XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP, map, &details);
    client.send();
}

void XInputEventMonitor::handleEvent(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7fU;
    if (type == firstXkbEvent && firstXkbEvent != 0) {
        handleXkbEvent(event);
        return;
    }
    if (type != XCB_GE_GENERIC) {
        return;
    }
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event); // NOLINT
    if (generic.extension != inputOpcode) {
        return;
    }
    if (generic.event_type == XCB_INPUT_HIERARCHY) {
        handleHierarchy(reinterpret_cast<const xcb_input_hierarchy_event_t&>(event)); // NOLINT
        return;
    }
    // Raw events of keys and of buttons have one form.
    const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event); // NOLINT
    switch (generic.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
        if (raw.detail == keyCodeOfI) {
            press(raw.deviceid);
        }
        break;
    case XCB_INPUT_RAW_KEY_RELEASE:
        if (raw.detail == keyCodeOfI) {
            release(raw.deviceid);
        }
        break;
    case XCB_INPUT_RAW_BUTTON_PRESS:
        if ((raw.detail == leftButton || raw.detail == rightButton) && !mouseMonitors.empty()) {
            reportClick(raw.deviceid);
        }
        break;
    default:
        break;
    }
}

void XInputEventMonitor::handleXkbEvent(const xcb_generic_event_t& event) {
    // All events of the extension share one number; the next byte tells which it is.
    if (event.pad0 != XCB_XKB_STATE_NOTIFY) {
        isModifierMapRead = false;
        return;
    }
    const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event); // NOLINT
    if (const auto known = modifiersOf.find(state.deviceID); known != modifiersOf.end()) {
        known->second = state.mods;
    }
}

void XInputEventMonitor::handleHierarchy(const xcb_input_hierarchy_event_t& event) {
    const std::span devices(xcb_input_hierarchy_infos(&event), event.num_infos);
    for (const auto& device : devices) {
        if ((device.flags & XCB_INPUT_HIERARCHY_MASK_MASTER_REMOVED) != 0) {
            modifiersOf.erase(device.deviceid);
            release(device.deviceid);
        } else if ((device.flags & XCB_INPUT_HIERARCHY_MASK_MASTER_ADDED) != 0 &&
                   device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && !keyMonitors.empty()) {
            watchLater(device.deviceid);
        }
    }
}

void XInputEventMonitor::press(Device keyboard) {
    const auto known = modifiersOf.find(keyboard);
    if (known == modifiersOf.end()) {
        return;
    }
    const auto [held, isNew] = isHeldOn.try_emplace(keyboard, false);
    if (held->second) {
        return;
    }
    if (isNew) {
        select();
    }
    // It may have been released, and pressed again, before releases were selected.
    client.ask<xcb_input_query_device_state_reply_t>(
        xcb_input_query_device_state(client.get(), static_cast<std::uint8_t>(keyboard)).sequence,
        [this, keyboard](const XReply<xcb_input_query_device_state_reply_t>& state) {
            if (!state || !isDown(*state, keyCodeOfI)) {
                release(keyboard);
            } else if (const auto asked = isHeldOn.find(keyboard); asked != isHeldOn.end()) {
                asked->second = true;
            }
        });
    if (!isModifierMapRead) {
        readModifierMap();
    }
    reportKey(keyboard, known->second);
}

void XInputEventMonitor::release(Device keyboard) {
    if (isHeldOn.erase(keyboard) > 0) {
        select();
    }
}

void XInputEventMonitor::readModifierMap() {
    isModifierMapRead = true;
    const auto modifierKeys = std::make_shared<std::vector<std::uint8_t>>();
    client.ask<xcb_get_modifier_mapping_reply_t>(
        xcb_get_modifier_mapping(client.get()).sequence,
        [modifierKeys](const XReply<xcb_get_modifier_mapping_reply_t>& reply) {
            if (reply) {
                const auto* codes = xcb_get_modifier_mapping_keycodes(reply.get());
                modifierKeys->assign(codes, codes + xcb_get_modifier_mapping_keycodes_length(reply.get()));
            }
        });
    const auto* setup = xcb_get_setup(client.get());
    const auto firstKey = setup->min_keycode;
    const auto keyCount = static_cast<std::uint8_t>(setup->max_keycode - firstKey + 1);
    client.ask<xcb_get_keyboard_mapping_reply_t>(
        xcb_get_keyboard_mapping(client.get(), firstKey, keyCount).sequence,
        [this, modifierKeys, firstKey](const XReply<xcb_get_keyboard_mapping_reply_t>& reply) {
            if (reply) {
                const std::span symbols(xcb_get_keyboard_mapping_keysyms(reply.get()),
                                        static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(reply.get())));
                modifierMap = ModifierMap::of(*modifierKeys, symbols, firstKey, reply->keysyms_per_keycode);
            }
        });
}

void XInputEventMonitor::reportKey(Device keyboard, std::optional<std::uint32_t> modifiers) {
    const auto report = [this, keyboard, modifiers](std::optional<pid_t> process) {
        if (!processes.isOwn(process)) {
            const auto known = modifiersOf.find(keyboard);
            const auto held = modifiers ? modifiers : known != modifiersOf.end() ? known->second : std::nullopt;
            call(keyMonitors, KeyEvent{.modifierFlags = modifierMap.flags(held.value_or(0)), .keyCode = keycode::i});
        }
    };
    client.ask<xcb_input_xi_get_focus_reply_t>(xcb_input_xi_get_focus(client.get(), keyboard).sequence,
                                               [this, report](const XReply<xcb_input_xi_get_focus_reply_t>& reply) {
                                                   // "None" and "wherever the pointer is" are no windows: then nobody
                                                   // is known to own them.
                                                   processes.ask(reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE},
                                                                 report);
                                               });
}

void XInputEventMonitor::reportClick(Device pointer) {
    const auto root = client.server().root();
    client.ask<xcb_input_xi_query_pointer_reply_t>(
        xcb_input_xi_query_pointer(client.get(), root, pointer).sequence,
        [this](const XReply<xcb_input_xi_query_pointer_reply_t>& reply) {
            if (reply) {
                // In 16.16 fixed point.
                reportClickInto(reply->child, {.x = static_cast<std::int16_t>(reply->root_x >> 16),
                                               .y = static_cast<std::int16_t>(reply->root_y >> 16)});
            }
        });
}

void XInputEventMonitor::reportClickInto(xcb_window_t window, xcb_point_t place) {
    if (window == XCB_WINDOW_NONE) {
        call(mouseMonitors);
        return;
    }
    processes.ask(window, [this, window, place](std::optional<pid_t> process) {
        if (processes.isOwn(process)) {
            return;
        }
        // At first it is the window manager's frame around a window.
        client.ask<xcb_translate_coordinates_reply_t>(
            xcb_translate_coordinates(client.get(), client.server().root(), window, place.x, place.y).sequence,
            [this, place](const XReply<xcb_translate_coordinates_reply_t>& reply) {
                reportClickInto(reply ? reply->child : xcb_window_t{XCB_WINDOW_NONE}, place);
            });
    });
}

} // namespace nocta
