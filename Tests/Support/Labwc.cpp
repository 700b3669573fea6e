#include "Support/Labwc.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>
#include <vector>

namespace nocta::test {

namespace {

void configure(std::vector<std::string> changes) {
    changes.insert(changes.begin(), "wlr-randr");
    Process process(std::move(changes));
    if (process.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("the outputs stay as they are: " + process.errors());
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
    // It places them in the order in which it hears of them, the newest first.
    configure({"--output", "HEADLESS-1", "--pos", "0,0", "--output", "HEADLESS-2", "--pos", "1280,0"});
}

void Labwc::switchOutput(const std::string& output, bool isOn) const {
    configure({"--output", output, isOn ? "--on" : "--off"});
}

void Labwc::setMode(const std::string& output, int width, int height) const {
    configure({"--output", output, "--custom-mode", std::to_string(width) + "x" + std::to_string(height)});
}

void Labwc::setScale(const std::string& output, int scale) const {
    configure({"--output", output, "--scale", std::to_string(scale)});
}

} // namespace nocta::test
