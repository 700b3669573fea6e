#include "Interface/StatusBar/StatusPicture.h"

#include "Interface/Symbols.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <QColor>
#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QString>

namespace nocta {

namespace {

// Shares of the picture's side. The eye is wider than high: in a square of three quarters it leaves two fifths below.
constexpr double eyeWithCaption = 0.74;
constexpr double eyeTop = -0.11;
constexpr double captionHeight = 0.43;
constexpr double outlineWidth = 1.0 / 24;
constexpr double outlineOpacity = 0.55;

QColor toQColor(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

/// Digits as high as `height` and no wider than `width`, both in pixels.
QFont captionFont(const QString& text, double height, double width) {
    QFont font = QGuiApplication::font();
    font.setBold(true);
    font.setHintingPreference(QFont::PreferFullHinting);
    constexpr int reference = 100;
    font.setPixelSize(reference);
    const QFontMetricsF metrics(font);
    font.setPixelSize(std::max(1, static_cast<int>(std::floor(reference * height / metrics.capHeight()))));
    if (const double natural = QFontMetricsF(font).horizontalAdvance(text); natural > width) {
        font.setStretch(std::max(50, static_cast<int>(100 * width / natural)));
    }
    // Small glyphs come in whole pixels and do not shrink as asked.
    while (font.pixelSize() > 1 && QFontMetricsF(font).horizontalAdvance(text) > width) {
        font.setPixelSize(font.pixelSize() - 1);
    }
    return font;
}

/// Symbol and caption, opaque.
QImage shape(const SymbolImage& image, const QString& caption, int size, const QColor& color) {
    QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    if (caption.isEmpty()) {
        paintSymbol(painter, image.symbolName, QRectF(0, 0, size, size), color);
        return picture;
    }
    const double eye = eyeWithCaption * size;
    paintSymbol(painter, image.symbolName, QRectF((size - eye) / 2, eyeTop * size, eye, eye), color);
    painter.setFont(captionFont(caption, captionHeight * size, size - 1.0));
    painter.setPen(color);
    const double width = QFontMetricsF(painter.font()).horizontalAdvance(caption);
    painter.drawText(QPointF(std::round((size - width) / 2), size - 1.0), caption);
    return picture;
}

} // namespace

Raster paintStatusPicture(const SymbolImage& image, std::string_view caption, std::int32_t size) {
    const auto text = QString::fromUtf8(caption.data(), static_cast<qsizetype>(caption.size()));
    const QImage outlined = shape(image, text, size, Qt::black);
    QImage outline(size, size, QImage::Format_ARGB32_Premultiplied);
    outline.fill(Qt::transparent);
    {
        QPainter painter(&outline);
        const double distance = std::max(0.75, outlineWidth * size);
        const double diagonal = distance * std::numbers::sqrt2 / 2;
        const std::array offsets{QPointF(distance, 0),         QPointF(-distance, 0),
                                 QPointF(0, distance),         QPointF(0, -distance),
                                 QPointF(diagonal, diagonal),  QPointF(-diagonal, diagonal),
                                 QPointF(diagonal, -diagonal), QPointF(-diagonal, -diagonal)};
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        for (const auto& offset : offsets) {
            painter.drawImage(offset, outlined);
        }
    }
    QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setOpacity(outlineOpacity);
        painter.drawImage(0, 0, outline);
        painter.setOpacity(1);
        painter.drawImage(0, 0, shape(image, text, size, toQColor(image.color)));
    }
    const QImage plain = picture.convertToFormat(QImage::Format_ARGB32);
    Raster raster{.size = size, .pixels = {}};
    raster.pixels.reserve(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
    for (int y = 0; y < size; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(plain.constScanLine(y)); // NOLINT: rows of 32-bit pixels
        raster.pixels.insert(raster.pixels.end(), row, row + size);
    }
    return raster;
}

} // namespace nocta
