#include "Platform/DesktopFiles/DesktopFileIndex.h"

#include "Platform/DesktopFiles/KeyFile.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace nocta {

namespace {

constexpr std::string_view suffix = ".desktop";
/// Far above the largest, whose many translations take some ten thousand bytes.
constexpr std::size_t fileLimit = 262144;

std::optional<std::filesystem::file_time_type> timeOfChange(const std::filesystem::path& folder) {
    std::error_code failure;
    const auto time = std::filesystem::last_write_time(folder, failure);
    return failure ? std::nullopt : std::optional(time);
}

/// Whether another change now could leave the same time: file systems that keep no finer times than this are out of
/// use.
bool isRecent(std::filesystem::file_time_type time) {
    const auto age = std::filesystem::file_time_type::clock::now() - time;
    return std::chrono::abs(age) < std::chrono::seconds(2);
}

std::string variable(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing sets variables while Nocta runs
    return value != nullptr && *value != '\0' ? value : fallback;
}

/// A desktop entry's text with its escapes undone.
std::string unescaped(std::string_view text) {
    constexpr std::string_view escapes = "sntr\\";
    constexpr std::string_view meanings = " \n\t\r\\";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto escape = text[i] == '\\' && i + 1 < text.size() ? escapes.find(text[i + 1]) : std::string_view::npos;
        if (escape == std::string_view::npos) {
            result += text[i];
        } else {
            result += meanings[escape];
            ++i;
        }
    }
    return result;
}

/// How a window class would be spelled as the name of a file.
std::string asFileName(std::string_view name) {
    std::string result = lowerCase(name);
    std::ranges::replace(result, ' ', '-');
    return result;
}

} // namespace

std::string desktopFileId(std::string_view file) {
    if (file.ends_with(suffix)) {
        file.remove_suffix(suffix.size());
    }
    constexpr std::string_view folder = "/applications/";
    if (const auto start = file.rfind(folder); start != std::string_view::npos) {
        file.remove_prefix(start + folder.size());
    } else if (file.starts_with('/')) {
        file.remove_prefix(file.rfind('/') + 1);
    }
    std::string id(file);
    std::ranges::replace(id, '/', '-');
    return id;
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return result;
}

DesktopFileIndex::DesktopFileIndex(std::vector<std::filesystem::path> folders) : folders(std::move(folders)) {}

std::vector<std::filesystem::path> DesktopFileIndex::userFolders() {
    const std::string home = variable("HOME", "/");
    std::string names = variable("XDG_DATA_HOME", home + "/.local/share") + ":" +
                        variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::vector<std::filesystem::path> result;
    for (std::string_view rest = names; !rest.empty();) {
        const auto end = std::min(rest.find(':'), rest.size());
        const std::filesystem::path folder(rest.substr(0, end));
        if (folder.is_absolute()) {
            result.push_back(folder / "applications");
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return result;
}

bool DesktopFileIndex::isCurrent() const {
    return known && std::ranges::all_of(known->folders, [](const Folder& folder) {
               return folder.isSettled && timeOfChange(folder.path) == folder.changed;
           });
}

bool DesktopFileIndex::readOn(std::size_t count) {
    if (!reading) {
        reading = listed();
    }
    const auto end = std::min(reading->files.size(), reading->next + count);
    for (; reading->next < end; ++reading->next) {
        read(reading->files[reading->next], reading->content);
    }
    if (reading->next < reading->files.size()) {
        return false;
    }
    known = std::move(reading->content);
    reading.reset();
    return true;
}

std::optional<std::string> DesktopFileIndex::idOfWindowClass(std::string_view instance,
                                                             std::string_view className) const {
    if (!known) {
        return std::nullopt;
    }
    const auto find = [](const Applications& applications, const std::string& name) {
        const auto found = applications.find(name);
        return found == applications.end() ? std::nullopt : std::optional(found->second.id);
    };
    for (const auto name : {instance, className}) {
        if (auto id = find(known->byClass, lowerCase(name))) {
            return id;
        }
    }
    for (const auto name : {instance, className}) {
        if (auto id = find(known->byId, asFileName(name))) {
            return id;
        }
    }
    return std::nullopt;
}

DesktopFileIndex::Reading DesktopFileIndex::listed() const {
    Reading result;
    std::unordered_set<std::string> ids;
    for (const auto& folder : folders) {
        const std::size_t first = result.files.size();
        listFolder(folder, result);
        // The order of a folder's entries is the file system's whim.
        std::sort(result.files.begin() + static_cast<std::ptrdiff_t>(first), result.files.end(),
                  [](const File& a, const File& b) { return a.id < b.id; });
    }
    // A file hides those of the same id in folders that count less, also when it says that there is no such
    // application.
    std::erase_if(result.files, [&](const File& file) { return !ids.insert(file.id).second; });
    return result;
}

void DesktopFileIndex::listFolder(const std::filesystem::path& folder, Reading& reading) {
    const auto note = [&reading](const std::filesystem::path& path) {
        const auto changed = timeOfChange(path);
        reading.content.folders.push_back(
            {.path = path, .changed = changed, .isSettled = !changed || !isRecent(*changed)});
    };
    note(folder);
    std::error_code failure;
    std::filesystem::recursive_directory_iterator entry(
        folder, std::filesystem::directory_options::skip_permission_denied, failure);
    const std::filesystem::recursive_directory_iterator end;
    for (; !failure && entry != end; entry.increment(failure)) {
        std::error_code ignored;
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            note(entry->path());
            continue;
        }
        const auto& path = entry->path().native();
        if (!path.ends_with(suffix)) {
            continue;
        }
        std::string id = path.substr(folder.native().size(), path.size() - folder.native().size() - suffix.size());
        id.erase(0, id.find_first_not_of('/'));
        std::ranges::replace(id, '/', '-');
        reading.files.push_back({.path = entry->path(), .id = std::move(id)});
    }
}

void DesktopFileIndex::add(Applications& applications, const std::string& name, const Application& application) {
    const auto [place, isNew] = applications.try_emplace(name, application);
    const auto rank = [&name](const Application& candidate) {
        return std::pair(candidate.isShown, lowerCase(candidate.id) == name);
    };
    if (!isNew && rank(application) > rank(place->second)) {
        place->second = application;
    }
}

void DesktopFileIndex::read(const File& file, Content& content) {
    constexpr std::string_view group = "Desktop Entry";
    const auto text = readSmallFile(file.path, fileLimit);
    if (!text || keyFileValue(*text, group, "Type") != "Application" ||
        keyFileValue(*text, group, "Hidden") == "true") {
        return;
    }
    const Application application{.id = file.id, .isShown = keyFileValue(*text, group, "NoDisplay") != "true"};
    add(content.byId, lowerCase(file.id), application);
    if (const auto windowClass = keyFileValue(*text, group, "StartupWMClass"); windowClass && !windowClass->empty()) {
        add(content.byClass, lowerCase(unescaped(*windowClass)), application);
    }
}

} // namespace nocta
