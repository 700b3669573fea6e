#pragma once

#include "Platform/KWin/NightTint.h"

#include <array>
#include <filesystem>
#include <vector>

namespace nocta::test {

/// The colours of the installed KWin's night light, as its library has them.
class ColoursOfKWin {
  public:
    /// Throws where there are none.
    ColoursOfKWin();

    /// From 1000 to 6500 K.
    [[nodiscard]] White at(double kelvin) const;
    /// The temperature from 1000 to 6500 K whose colour is nearest to that of `white`, of which one channel is at full
    /// intensity; found by trying every one. The weights of those channels that tell are 1.
    [[nodiscard]] double nearest(const White& white, double weightOfGreen = 1, double weightOfBlue = 1) const;

  private:
    using Colour = std::array<float, 3>;

    void read(const std::filesystem::path& library);

    std::vector<Colour> colours; ///< from 1000 K in steps of 100 K
};

} // namespace nocta::test
