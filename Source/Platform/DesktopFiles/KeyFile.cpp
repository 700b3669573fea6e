#include "Platform/DesktopFiles/KeyFile.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nocta {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Takes the first line off `text`.
std::string_view takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    const auto line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return trimmed(line);
}

} // namespace

std::optional<std::string_view> keyFileValue(std::string_view text, std::string_view group, std::string_view key) {
    bool isInGroup = false;
    while (!text.empty()) {
        const auto line = takeLine(text);
        if (line.starts_with('[')) {
            if (isInGroup) {
                return std::nullopt;
            }
            isInGroup = line.ends_with(']') && line.substr(1, line.size() - 2) == group;
        } else if (isInGroup && line.starts_with(key)) {
            const auto rest = trimmed(line.substr(key.size()));
            if (rest.starts_with('=')) {
                return trimmed(rest.substr(1));
            }
        }
    }
    return std::nullopt;
}

std::optional<std::string> readSmallFile(const std::filesystem::path& file, std::size_t limit) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return std::nullopt;
    }
    std::optional<std::string> content;
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        // Files in /proc have no size beforehand.
        if (status.st_size > 0) {
            limit = std::min(limit, static_cast<std::size_t>(status.st_size));
        }
        content.emplace(limit, '\0');
        std::size_t size = 0;
        ssize_t count = 0;
        while (size < limit && (count = read(descriptor, content->data() + size, limit - size)) > 0) {
            size += static_cast<std::size_t>(count);
        }
        content->resize(size);
        if (count < 0) {
            content.reset();
        }
    }
    close(descriptor);
    return content;
}

} // namespace nocta
