#include "Support/DrivenInput.h"

#include "Platform/X11/XkbProtocol.h"
#include "Support/Process.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace nocta::test {

namespace {

constexpr std::string_view secondName = "Second";

struct Devices {
    std::uint16_t master = 0; ///< the second master keyboard
    std::uint16_t tester = 0; ///< the device on which a test presses its keys
};

Devices secondKeyboard(xcb_connection_t* connection) {
    Devices result;
    const XReply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
    if (!reply) {
        return result;
    }
    for (auto infos = xcb_input_xi_query_device_infos_iterator(reply.get()); infos.rem > 0;
         xcb_input_xi_device_info_next(&infos)) {
        const std::string_view name(xcb_input_xi_device_info_name(infos.data), infos.data->name_len);
        if (!name.starts_with(secondName)) {
            continue;
        }
        if (infos.data->type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD) {
            result.master = infos.data->deviceid;
        } else if (infos.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD) {
            result.tester = infos.data->deviceid;
        }
    }
    return result;
}

} // namespace

void DrivenInput::send(std::uint8_t type, std::uint8_t detail) const {
    xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    connection.synchronize();
}

void DrivenInput::type(std::initializer_list<std::uint8_t> keys) const {
    for (const auto key : keys) {
        xcb_test_fake_input(connection.get(), XCB_KEY_PRESS, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    }
    for (const auto* key = keys.end(); key != keys.begin();) {
        --key;
        xcb_test_fake_input(connection.get(), XCB_KEY_RELEASE, *key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    }
    connection.synchronize();
}

void DrivenInput::click(std::uint8_t button) const {
    send(XCB_BUTTON_PRESS, button);
    send(XCB_BUTTON_RELEASE, button);
}

void DrivenInput::movePointer(std::int16_t x, std::int16_t y) const {
    xcb_warp_pointer(connection.get(), XCB_WINDOW_NONE, connection.root(), 0, 0, 0, 0, x, y);
    connection.synchronize();
}

std::uint8_t DrivenInput::plugInSecondKeyboard() const {
    struct Change {
        xcb_input_add_master_t head;
        std::array<char, 8> name;
    };
    Change change{.head = {.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER,
                           .len = sizeof(Change) / 4,
                           .name_len = static_cast<std::uint16_t>(secondName.size()),
                           .send_core = 1,
                           .enable = 1},
                  .name = {}};
    std::ranges::copy(secondName, change.name.begin());
    const XReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
    xcb_input_xi_change_hierarchy(connection.get(), 1,
                                  reinterpret_cast<xcb_input_hierarchy_change_t*>(&change)); // NOLINT
    const auto keyboard = secondKeyboard(connection.get()).tester;
    if (keyboard == 0) {
        throw std::runtime_error("no second keyboard");
    }
    return static_cast<std::uint8_t>(keyboard);
}

void DrivenInput::unplugSecondKeyboard() const {
    xcb_input_remove_master_t change{};
    change.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_REMOVE_MASTER;
    change.len = sizeof change / 4;
    change.deviceid = secondKeyboard(connection.get()).master;
    change.return_mode = XCB_INPUT_CHANGE_MODE_FLOAT;
    xcb_input_xi_change_hierarchy(connection.get(), 1,
                                  reinterpret_cast<xcb_input_hierarchy_change_t*>(&change)); // NOLINT
    connection.synchronize();
}

void DrivenInput::pressOn(std::uint8_t keyboard, std::uint8_t key, bool isDown) const {
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_input_id);
    const auto type = extension->first_event + (isDown ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE);
    xcb_test_fake_input(connection.get(), static_cast<std::uint8_t>(type), key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                        keyboard);
    connection.synchronize();
}

bool DrivenInput::grabKeyboard() const {
    const XReply<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(connection.get(),
                                xcb_grab_keyboard(connection.get(), 0, connection.root(), XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void DrivenInput::setLayout(const std::vector<std::string>& layout) const {
    std::vector<std::string> arguments{"setxkbmap", "-rules", "evdev", "-model", "pc105"};
    arguments.insert(arguments.end(), layout.begin(), layout.end());
    Process process(arguments);
    if (process.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("no layout: " + process.errors());
    }
    connection.synchronize();
}

void DrivenInput::lockGroup(std::uint8_t group) const {
    const XReply<xcb_xkb_use_extension_reply_t> use(
        xcb_xkb_use_extension_reply(connection.get(), xcb_xkb_use_extension(connection.get(), 1, 0), nullptr));
    xcb_xkb_latch_lock_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
    connection.synchronize();
}

void DrivenInput::swapModifiers(std::size_t first, std::size_t second) const {
    const XReply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection.get(), xcb_get_modifier_mapping(connection.get()), nullptr));
    const std::size_t width = mapping->keycodes_per_modifier;
    const auto* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
    std::vector<xcb_keycode_t> changed(codes, codes + 8 * width);
    for (std::size_t column = 0; column < width; ++column) {
        std::swap(changed[first * width + column], changed[second * width + column]);
    }
    const XReply<xcb_set_modifier_mapping_reply_t> reply(xcb_set_modifier_mapping_reply(
        connection.get(), xcb_set_modifier_mapping(connection.get(), mapping->keycodes_per_modifier, changed.data()),
        nullptr));
    if (!reply || reply->status != XCB_MAPPING_STATUS_SUCCESS) {
        throw std::runtime_error("the modifiers could not be exchanged");
    }
}

} // namespace nocta::test
