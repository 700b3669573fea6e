#include "Platform/X11/WindowIdentity.h"

#include "Platform/DesktopFiles/DesktopFileIndex.h"

#include <algorithm>
#include <utility>

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
    auto id = desktopFileId(kdeDesktopFile);
    return id.empty() ? std::nullopt : std::optional(std::move(id));
}

} // namespace nocta
