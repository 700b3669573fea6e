#pragma once

#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include <QColor>
#include <QImage>

namespace nocta::test {

/// What a picture is drawn with. Its glyphs are the same in every release of Debian; Inter's are not.
enum class Typeface {
    even,  ///< Open Sans with even heights, for pictures that are compared pixel by pixel
    inter, ///< as people see it, for pictures of the documentation
};

/// A file of a typeface, in which numbers can be changed.
class TypefaceFile {
  public:
    explicit TypefaceFile(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
        if (bytes.empty()) {
            throw std::runtime_error("no typeface " + path.string());
        }
    }

    void set(const std::string& table, std::size_t offset, int number) {
        const std::size_t at = placeOf(table) + offset;
        bytes.at(at) = static_cast<char>(static_cast<unsigned>(number) >> 8U);
        bytes.at(at + 1) = static_cast<char>(number);
    }

    void save(const std::filesystem::path& path) const { std::ofstream(path, std::ios::binary) << bytes; }

  private:
    [[nodiscard]] std::size_t number(std::size_t at, std::size_t size) const {
        std::size_t value = 0;
        for (std::size_t i = at; i < at + size; ++i) {
            value = value << 8U | static_cast<unsigned char>(bytes.at(i));
        }
        return value;
    }

    /// By the directory: a head of 12 bytes, and 16 bytes a table.
    [[nodiscard]] std::size_t placeOf(const std::string& table) const {
        for (std::size_t i = 0; i < number(4, 2); ++i) {
            if (bytes.compare(12 + 16 * i, 4, table) == 0) {
                return number(12 + 16 * i + 8, 4);
            }
        }
        throw std::runtime_error("a typeface without " + table);
    }

    std::string bytes;
};

/// One typeface, and no other, drawn in one way whatever the machine prefers, at `scale` pixels for a logical one. To
/// be made before the application.
class PictureConditions {
  public:
    explicit PictureConditions(int scale, Typeface typeface = Typeface::even) {
        if (typeface == Typeface::even) {
            makeEven();
        }
        const auto configuration = folder.path() / "fonts.conf";
        std::ofstream(configuration) << R"(<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <dir>)" << (typeface == Typeface::even ? folder.path().string() : "/usr/share/fonts/opentype/inter")
                                     << R"(</dir>
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
    /// Versions of Qt differ in how they round a line's ascent and descent, and in which weight stands in for one that
    /// is not there. So a line is one em high, all of it ascent, and every weight that Nocta asks for is there.
    void makeEven() {
        constexpr int em = 2048;
        const std::pair<const char*, int> weights[]{
            {"Light", 100}, {"Regular", 400}, {"Semibold", 500}, {"Bold", 600}, {"ExtraBold", 700}};
        for (const auto& [style, weight] : weights) {
            const auto name = std::string("OpenSans-") + style + ".ttf";
            TypefaceFile file("/usr/share/fonts/truetype/open-sans/" + name);
            file.set("hhea", 4, em);
            file.set("hhea", 6, 0); // descent
            file.set("hhea", 8, 0); // what is between two lines
            file.set("OS/2", 4, weight);
            file.set("OS/2", 68, em);
            file.set("OS/2", 70, 0);
            file.set("OS/2", 72, 0);
            file.set("OS/2", 74, em);
            file.set("OS/2", 76, 0);
            file.save(folder.path() / name);
        }
    }

    TemporaryFolder folder;
};

/// Whether a pixel lies in no channel farther than `tolerance` off what `picture` has within one pixel of that place.
inline bool isAmong(QRgb pixel, const QImage& picture, int x, int y) {
    constexpr int tolerance = 32; // what the drawing of curves may do from one version to another
    const auto fits = [&](int (*channel)(QRgb)) {
        int least = 255;
        int most = 0;
        for (int row = std::max(0, y - 1); row <= std::min(picture.height() - 1, y + 1); ++row) {
            const auto* const line = reinterpret_cast<const QRgb*>(picture.constScanLine(row)); // NOLINT
            for (int column = std::max(0, x - 1); column <= std::min(picture.width() - 1, x + 1); ++column) {
                const int value = channel(line[column]); // NOLINT: that many are in a row
                least = std::min(least, value);
                most = std::max(most, value);
            }
        }
        return channel(pixel) >= least - tolerance && channel(pixel) <= most + tolerance;
    };
    return fits(&qRed) && fits(&qGreen) && fits(&qBlue);
}

/// How many pixels of one of the two have nothing like them in the other, for each pixel that is no background in
/// `documented`. A line or a letter may be one pixel off: versions of Qt round halves of a pixel to either side.
inline double pictureDifference(const QImage& seen, const QImage& documented, QRgb background) {
    if (seen.size() != documented.size()) {
        return 1;
    }
    const QImage ground = [&] {
        QImage one(1, 1, QImage::Format_RGB32);
        one.fill(background);
        return one;
    }();
    int different = 0;
    int drawn = 0;
    for (int y = 0; y < seen.height(); ++y) {
        const auto* const seenRow = reinterpret_cast<const QRgb*>(seen.constScanLine(y));             // NOLINT
        const auto* const documentedRow = reinterpret_cast<const QRgb*>(documented.constScanLine(y)); // NOLINT
        for (int x = 0; x < seen.width(); ++x) {
            const QRgb pixel = seenRow[x];          // NOLINT: that many are in a row
            const QRgb expected = documentedRow[x]; // NOLINT
            drawn += isAmong(expected, ground, 0, 0) ? 0 : 1;
            if (pixel != expected && !(isAmong(pixel, documented, x, y) && isAmong(expected, seen, x, y))) {
                ++different;
            }
        }
    }
    return static_cast<double>(different) / drawn;
}

/// As pictureDifference, but from afar, where the shapes of letters do not count: they are Inter's, of whatever version
/// is there. To be compared with `documentationMayDiffer`.
inline double differenceFromAfar(const QImage& seen, const QImage& documented, QRgb background) {
    if (seen.size() != documented.size()) {
        return 1;
    }
    constexpr int away = 16;
    constexpr int tolerance = 24;
    const auto shrunk = [](const QImage& picture) {
        return picture.scaled(picture.size() / away, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    };
    const auto isApart = [](QRgb one, QRgb other) {
        return std::abs(qRed(one) - qRed(other)) > tolerance || std::abs(qGreen(one) - qGreen(other)) > tolerance ||
               std::abs(qBlue(one) - qBlue(other)) > tolerance;
    };
    const QImage one = shrunk(seen);
    const QImage other = shrunk(documented);
    int different = 0;
    int drawn = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            different += isApart(one.pixel(x, y), other.pixel(x, y)) ? 1 : 0;
            drawn += isApart(other.pixel(x, y), background) ? 1 : 0;
        }
    }
    return static_cast<double>(different) / drawn;
}
constexpr double documentationMayDiffer = 0.05;

} // namespace nocta::test
