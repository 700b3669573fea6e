#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nocta {

/// Which of the installed applications a window's class speaks of. Knows the desktop files below some folders and
/// nothing before it was told to read them.
class DesktopFileIndex {
  public:
    /// `folders` of desktop files, the one that counts most first; they need not exist.
    explicit DesktopFileIndex(std::vector<std::filesystem::path> folders);

    /// The folders that XDG_DATA_HOME and XDG_DATA_DIRS name, or their defaults.
    [[nodiscard]] static std::vector<std::filesystem::path> userFolders();

    /// Whether it knows what the folders hold. Asks for each folder's time of change only, so a file that was edited
    /// in place is noticed with the next change of its folder.
    [[nodiscard]] bool isCurrent() const;

    /// Reads at most `count` files more; true when that was all. What it knew before holds until then.
    bool readOn(std::size_t count);

    /// The id of the application whose windows bear this class: the one whose StartupWMClass, else whose own id is
    /// `instance`, else `className`, whatever their case. Of several, the one that menus show, then the one of that
    /// name, then the one in the folder that counts more.
    [[nodiscard]] std::optional<std::string> idOfWindowClass(std::string_view instance,
                                                             std::string_view className) const;

  private:
    struct Folder {
        std::filesystem::path path;
        std::optional<std::filesystem::file_time_type> changed; ///< absent where there is no such folder
        bool isSettled = true;                                  ///< a change after the reading will show in `changed`
    };
    struct File {
        std::filesystem::path path;
        std::string id;
    };
    struct Application {
        std::string id;
        bool isShown = true;
    };
    /// By names in lower case.
    using Applications = std::unordered_map<std::string, Application>;
    struct Content {
        std::vector<Folder> folders;
        Applications byClass;
        Applications byId;
    };
    struct Reading {
        Content content;
        std::vector<File> files;
        std::size_t next = 0;
    };

    [[nodiscard]] Reading listed() const;
    static void listFolder(const std::filesystem::path& folder, Reading& reading);
    static void add(Applications& applications, const std::string& name, const Application& application);
    static void read(const File& file, Content& content);

    std::vector<std::filesystem::path> folders;
    std::optional<Content> known;
    std::optional<Reading> reading;
};

/// The id that a program means which names its desktop file: with or without folders and suffix. Empty where it names
/// none.
[[nodiscard]] std::string desktopFileId(std::string_view file);

/// ASCII letters in lower case, the rest as it is.
[[nodiscard]] std::string lowerCase(std::string_view text);

} // namespace nocta
