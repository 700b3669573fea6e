#pragma once

#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SystemBus.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nocta::test {

/// A private GNOME Shell on Wayland, on the session bus that the environment names, with two virtual monitors beside
/// each other, of 1280x800 and 1024x768, the extension that shows status items in its top bar, and Xwayland. While it
/// lives, this process's WAYLAND_DISPLAY, DISPLAY, XAUTHORITY and XDG_RUNTIME_DIR name it and what is its own.
class GnomeShell {
  public:
    /// Throws where it does not start.
    GnomeShell();
    GnomeShell(const GnomeShell&) = delete;
    GnomeShell& operator=(const GnomeShell&) = delete;
    ~GnomeShell();

    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder.path() / "runtime"; }

    /// Of the desktop's own programs, which have its settings.
    [[nodiscard]] Process::Environment environment() const;

    /// What a script within the shell gives, as JSON; nothing where it fails.
    [[nodiscard]] std::optional<std::string> evaluate(const std::string& script) const;

    /// The class of the window that has the keyboard; empty where none has.
    [[nodiscard]] std::string focusedWindow() const;
    [[nodiscard]] ScreenPicture picture() const;
    /// The middle of the text that the shell itself shows, in a menu for example; nothing while it shows none of these
    /// words.
    [[nodiscard]] std::optional<Point> place(const std::string& text) const;
    /// The middle of the first status item in the top bar.
    [[nodiscard]] std::optional<Point> statusItem() const;

    /// What a person does at mouse and keyboard. On return the shell has it.
    void click(const Point& point) const;
    /// Presses keys, by the kernel's numbers, in this order, and lets go of them in reverse.
    void press(const std::vector<int>& keys) const;

  private:
    /// Of the `actor` that a script finds; nothing where that is null.
    [[nodiscard]] std::optional<Point> middleOf(const std::string& scriptOfActor) const;
    void carryOut(const std::string& script) const;

    TemporaryFolder folder;
    SystemBus systemBus;
    std::unique_ptr<Process> login;
    std::unique_ptr<Process> process;
};

} // namespace nocta::test
