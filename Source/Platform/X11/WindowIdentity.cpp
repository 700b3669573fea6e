#include "Platform/X11/WindowIdentity.h"

#include <algorithm>

namespace nocta {

void WindowIdentity::setWindowClass(std::string_view value) {
    // Two texts, each with a zero at its end, which some programs forget.
    const auto end = std::min(value.find('\0'), value.size());
    instance = value.substr(0, end);
    value.remove_prefix(std::min(end + 1, value.size()));
    className = value.substr(0, value.find('\0'));
}

bool WindowIdentity::isEmpty() const {
    return gtkApplicationId.empty() && kdeDesktopFile.empty() && instance.empty() && className.empty();
}

std::optional<std::string> WindowIdentity::statedId() const {
    if (!gtkApplicationId.empty()) {
        return gtkApplicationId;
    }
    std::string_view file = kdeDesktopFile;
    constexpr std::string_view suffix = ".desktop";
    if (file.ends_with(suffix)) {
        file.remove_suffix(suffix.size());
    }
    constexpr std::string_view folder = "/applications/";
    if (const auto start = file.rfind(folder); start != std::string_view::npos) {
        file.remove_prefix(start + folder.size());
    } else if (file.starts_with('/')) {
        file.remove_prefix(file.rfind('/') + 1);
    }
    if (file.empty()) {
        return std::nullopt;
    }
    std::string id(file);
    std::ranges::replace(id, '/', '-');
    return id;
}

} // namespace nocta
