#pragma once

#include "Support/WlrCompositor.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace nocta::test {

class Sway final : public WlrCompositor {
  public:
    /// Throws where it does not start.
    explicit Sway(std::optional<std::size_t> gammaSize = 1024);

    /// Where sway takes commands.
    [[nodiscard]] std::filesystem::path commandSocket() const { return runtimeFolder() / "ipc"; }
    [[nodiscard]] Process::Environment environment() const override { return {{"SWAYSOCK", commandSocket()}}; }

    /// Has sway carry out what a person could write into its configuration. Throws where it does not succeed.
    void command(const std::string& text) const;

    void switchOutput(const std::string& output, bool isOn) const override;
    void setMode(const std::string& output, int width, int height) const override;
    void setScale(const std::string& output, int scale) const override;

  private:
    /// One message to sway and the answer, in the format of i3.
    [[nodiscard]] std::string ask(std::uint32_t type, const std::string& payload) const;
};

} // namespace nocta::test
