#include "Support/Labwc.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>
#include <vector>

namespace nocta::test {

namespace {

void configureOutput(const std::string& output, std::vector<std::string> changes) {
    std::vector<std::string> arguments{"wlr-randr", "--output", output};
    arguments.insert(arguments.end(), changes.begin(), changes.end());
    Process process(std::move(arguments));
    if (process.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("the output stays as it is: " + process.errors());
    }
}

} // namespace

Labwc::Labwc(std::optional<std::size_t> gammaSize, const std::string& keyBindings) : WlrCompositor(gammaSize) {
    const auto configuration = write("rc.xml", "<?xml version=\"1.0\"?>\n<labwc_config><keyboard>\n<default />\n" +
                                                   keyBindings + "</keyboard></labwc_config>\n");
    const auto bin = runtimeFolder() / "bin";
    if (!keyBindings.empty()) {
        // It may run as somebody who may not pass to where this checkout lies.
        std::filesystem::create_directory(bin);
        std::filesystem::copy_file(programFolder() / "noctactl", bin / "noctactl");
    }
    start({"labwc", "-c", configuration}, {{"PATH", bin.string() + ":" + std::getenv("PATH")}}, [] { return true; });
}

void Labwc::switchOutput(const std::string& output, bool isOn) const {
    configureOutput(output, {isOn ? "--on" : "--off"});
}

void Labwc::setMode(const std::string& output, int width, int height) const {
    configureOutput(output, {"--custom-mode", std::to_string(width) + "x" + std::to_string(height)});
}

void Labwc::setScale(const std::string& output, int scale) const {
    configureOutput(output, {"--scale", std::to_string(scale)});
}

} // namespace nocta::test
