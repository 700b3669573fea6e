#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace nocta {

/// Reads a compact JSON object (no white space between tokens) whose members are strings. Nothing for any other text.
/// A reader of its own, so that what the program stores is not judged by the library that wrote it.
std::optional<std::map<std::string, std::string>> decodeFlatJson(std::string_view text);

} // namespace nocta
