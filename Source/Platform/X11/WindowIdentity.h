#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nocta {

/// What a window's properties say about its application; empty where they say nothing.
struct WindowIdentity {
    std::string gtkApplicationId; ///< _GTK_APPLICATION_ID
    std::string kdeDesktopFile;   ///< _KDE_NET_WM_DESKTOP_FILE: an id, a file name or a path
    std::string instance;         ///< of WM_CLASS
    std::string className;        ///< of WM_CLASS

    /// Takes the value of WM_CLASS.
    void setWindowClass(std::string_view value);
    [[nodiscard]] bool isEmpty() const;
    /// The desktop-file id, where the window names it.
    [[nodiscard]] std::optional<std::string> statedId() const;
};

} // namespace nocta
