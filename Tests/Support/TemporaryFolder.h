#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace nocta::test {

/// A new empty folder that goes with everything in it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "nocta-test-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return folder; }

  private:
    std::filesystem::path folder;
};

} // namespace nocta::test
