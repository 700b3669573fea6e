#pragma once

#include "Support/WlrCompositor.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace nocta::test {

/// Its session has the bus that this process's environment names when it starts.
class Labwc final : public WlrCompositor {
  public:
    /// `keyBindings` are more lines about keys in its configuration; with any, its session finds noctactl. Throws where
    /// it does not start.
    explicit Labwc(std::optional<std::size_t> gammaSize = 1024, const std::string& keyBindings = "");

    void switchOutput(const std::string& output, bool isOn) const override;
    void setMode(const std::string& output, int width, int height) const override;
    void setScale(const std::string& output, int scale) const override;
};

} // namespace nocta::test
