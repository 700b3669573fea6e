#include "ColoursOfKWin.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

namespace nocta::test {

ColoursOfKWin::ColoursOfKWin() {
    for (const auto& folder : std::filesystem::directory_iterator("/usr/lib")) {
        for (const auto* const name : {"libkwin.so.5", "libkwin.so.6"}) {
            const auto library = folder.path() / name;
            if (std::filesystem::exists(library)) {
                read(library);
            }
        }
    }
    if (colours.empty()) {
        throw std::runtime_error("no colours of KWin's");
    }
}

White ColoursOfKWin::at(double kelvin) const {
    const double place = (kelvin - 1000) / 100;
    const auto below = std::min(static_cast<std::size_t>(place), colours.size() - 2);
    const double way = place - static_cast<double>(below);
    const auto between = [&](std::size_t channel) {
        return std::lerp(colours[below][channel], colours[below + 1][channel], way);
    };
    return {.red = between(0), .green = between(1), .blue = between(2)};
}

double ColoursOfKWin::nearest(const White& white, double weightOfGreen, double weightOfBlue) const {
    double found = 0;
    double least = std::numeric_limits<double>::infinity();
    for (double kelvin = 1000; kelvin <= 6500; ++kelvin) {
        const auto colour = at(kelvin);
        const double distance =
            std::hypot(weightOfGreen * (colour.green - white.green), weightOfBlue * (colour.blue - white.blue));
        if (distance < least) {
            least = distance;
            found = kelvin;
        }
    }
    return found;
}

void ColoursOfKWin::read(const std::filesystem::path& library) {
    std::ifstream file(library, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    // That of a black body of 1000 K, with which such tables begin.
    constexpr Colour first{1.0F, 0.18172716F, 0.0F};
    std::string beginning(sizeof first, '\0');
    std::memcpy(beginning.data(), first.data(), sizeof first);
    const auto place = bytes.find(beginning);
    if (place != std::string::npos) {
        colours.resize(56);
        std::memcpy(colours.data(), bytes.data() + place, colours.size() * sizeof(Colour));
    }
}

} // namespace nocta::test
