#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace nocta {

/// The id of the application whose sandbox, a Flatpak's or a Snap's, the process lives in; nothing where it lives in
/// none, has gone or is not to be looked into. `processes` is where the kernel tells of processes.
[[nodiscard]] std::optional<std::string> sandboxedApplication(pid_t process,
                                                              const std::filesystem::path& processes = "/proc");

/// The same from the `.flatpak-info` of a sandbox.
[[nodiscard]] std::optional<std::string> flatpakApplication(std::string_view info);

/// The same from a process's list of control groups: the application "code" of the snap "code" is "code_code", which is
/// how its desktop file is named.
[[nodiscard]] std::optional<std::string> snapApplication(std::string_view controlGroups);

} // namespace nocta
