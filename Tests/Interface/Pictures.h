#pragma once

#include "Support/TemporaryFolder.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>

#include <QColor>
#include <QImage>

namespace nocta::test {

/// Inter, and nothing else, drawn in one way whatever the machine prefers, at `scale` pixels for a logical one. To be
/// made before the application.
class PictureConditions {
  public:
    explicit PictureConditions(int scale) {
        const auto configuration = folder.path() / "fonts.conf";
        std::ofstream(configuration) << R"(<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <dir>/usr/share/fonts/opentype/inter</dir>
  <cachedir>)" << (folder.path() / "cache").string()
                                     << R"(</cachedir>
  <match target="font">
    <edit name="antialias" mode="assign"><bool>true</bool></edit>
    <edit name="hinting" mode="assign"><bool>false</bool></edit>
    <edit name="rgba" mode="assign"><const>none</const></edit>
  </match>
</fontconfig>
)";
        setenv("FONTCONFIG_FILE", configuration.c_str(), 1);
        setenv("QT_SCALE_FACTOR", std::to_string(scale).c_str(), 1);
        setenv("QT_FONT_DPI", "96", 1);
    }

  private:
    TemporaryFolder folder;
};

/// How many pixels differ by more than what the drawing of curves may do from one version to another, for each pixel
/// that is no background in `documented`.
inline double pictureDifference(const QImage& seen, const QImage& documented, QRgb background) {
    if (seen.size() != documented.size()) {
        return 1;
    }
    constexpr int tolerance = 32;
    const auto isApart = [](QRgb one, QRgb other) {
        return std::abs(qRed(one) - qRed(other)) > tolerance || std::abs(qGreen(one) - qGreen(other)) > tolerance ||
               std::abs(qBlue(one) - qBlue(other)) > tolerance;
    };
    int different = 0;
    int drawn = 0;
    for (int y = 0; y < seen.height(); ++y) {
        const auto* const seenRow = reinterpret_cast<const QRgb*>(seen.constScanLine(y));             // NOLINT
        const auto* const documentedRow = reinterpret_cast<const QRgb*>(documented.constScanLine(y)); // NOLINT
        for (int x = 0; x < seen.width(); ++x) {
            different += isApart(seenRow[x], documentedRow[x]) ? 1 : 0; // NOLINT: that many are in a row
            drawn += isApart(documentedRow[x], background) ? 1 : 0;     // NOLINT
        }
    }
    return static_cast<double>(different) / drawn;
}

} // namespace nocta::test
