#include "Support/XfceSettings.h"

#include <filesystem>
#include <stdexcept>

namespace nocta::test {

std::string xfceSettingsProgram() {
    // It lies in the folder of the machine's architecture, outside PATH.
    for (const auto& folder : std::filesystem::directory_iterator("/usr/lib")) {
        const auto program = folder.path() / "xfce4/xfconf/xfconfd";
        if (std::filesystem::exists(program)) {
            return program;
        }
    }
    throw std::runtime_error("no xfconfd");
}

} // namespace nocta::test
