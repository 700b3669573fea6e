#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace nocta {

/// The value of `key` in `[group]` of a desktop entry or of a file of the same form, where it stands first; without the
/// blanks around it, its escapes as they stand. It points into `text`.
[[nodiscard]] std::optional<std::string_view> keyFileValue(std::string_view text, std::string_view group,
                                                           std::string_view key);

/// The first `limit` bytes of a regular file; nothing where there is none or it cannot be read. Never waits for a
/// writer, as a plain read of a named pipe would.
[[nodiscard]] std::optional<std::string> readSmallFile(const std::filesystem::path& file, std::size_t limit);

} // namespace nocta
