#include "Platform/DesktopFiles/SandboxedApplication.h"

#include "Platform/DesktopFiles/KeyFile.h"

#include <algorithm>
#include <cstddef>

namespace nocta {

namespace {

constexpr std::size_t processFileLimit = 65536;

/// Whether `text` ends in a separator and a UUID.
bool endsInUuid(std::string_view text) {
    constexpr std::size_t length = 36;
    if (text.size() <= length) {
        return false;
    }
    const auto uuid = text.substr(text.size() - length);
    for (std::size_t i = 0; i < length; ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        if (isDash ? uuid[i] != '-' : std::string_view("0123456789abcdef").find(uuid[i]) == std::string_view::npos) {
            return false;
        }
    }
    const char separator = text[text.size() - length - 1];
    return separator == '-' || separator == '.';
}

/// Of one control group's name: "snap.NAME.APPLICATION-UUID.scope", in older releases with a dot before the UUID, or
/// "snap.NAME.APPLICATION.service".
std::optional<std::string> snapOfGroup(std::string_view group) {
    constexpr std::string_view prefix = "snap.";
    constexpr std::size_t uuidAndSeparator = 37;
    if (!group.starts_with(prefix)) {
        return std::nullopt;
    }
    group.remove_prefix(prefix.size());
    const auto unit = group.rfind('.');
    if (unit == std::string_view::npos || (group.substr(unit) != ".scope" && group.substr(unit) != ".service")) {
        return std::nullopt;
    }
    group = group.substr(0, unit);
    if (endsInUuid(group)) {
        group.remove_suffix(uuidAndSeparator);
    }
    const auto dot = group.find('.');
    const auto application = dot == std::string_view::npos ? std::string_view() : group.substr(dot + 1);
    // "snap.NAME.hook.HOOK" is no application.
    if (dot == 0 || application.empty() || application.find('.') != std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(group.substr(0, dot)) + "_" + std::string(application);
}

} // namespace

std::optional<std::string> sandboxedApplication(pid_t process, const std::filesystem::path& processes) {
    const auto folder = processes / std::to_string(process);
    if (const auto info = readSmallFile(folder / "root/.flatpak-info", processFileLimit)) {
        if (auto id = flatpakApplication(*info)) {
            return id;
        }
    }
    const auto groups = readSmallFile(folder / "cgroup", processFileLimit);
    return groups ? snapApplication(*groups) : std::nullopt;
}

std::optional<std::string> flatpakApplication(std::string_view info) {
    const auto name = keyFileValue(info, "Application", "name");
    return name && !name->empty() ? std::optional<std::string>(*name) : std::nullopt;
}

std::optional<std::string> snapApplication(std::string_view controlGroups) {
    while (!controlGroups.empty()) {
        const auto end = std::min(controlGroups.find_first_of("/\n"), controlGroups.size());
        if (auto id = snapOfGroup(controlGroups.substr(0, end))) {
            return id;
        }
        controlGroups.remove_prefix(std::min(end + 1, controlGroups.size()));
    }
    return std::nullopt;
}

} // namespace nocta
