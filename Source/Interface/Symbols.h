#pragma once

#include <string_view>

#include <QColor>
#include <QImage>
#include <QRectF>

class QPainter;

namespace nocta {

/// Nocta's own symbols. Each is one drawing on a grid of 24 units with rounded strokes of 1.75 units, so that all of
/// them look alike at one size, and sharp at every size.
///
/// Named as presets and tabs name them: "slider.horizontal.3", "clock", "eye", "chart.bar", "sun.max",
/// "brain.head.profile", "sunset", "moon", "zzz", "film", "timer", "clock.fill", "eye.fill", "forward.fill",
/// "thermometer.medium"; "eye.rest", drawn with a finer stroke for the large eye of the break overlay; "chevron.up" and
/// "chevron.down". A name that is none of these draws nothing.
[[nodiscard]] bool hasSymbol(std::string_view name);

/// Draws into the middle of `bounds`, as large as it fits, in one colour. The painter is left as it was.
void paintSymbol(QPainter& painter, std::string_view name, const QRectF& bounds, const QColor& color);

/// A square picture of `pixels` by `pixels` device pixels, transparent around the drawing, premultiplied.
[[nodiscard]] QImage renderSymbol(std::string_view name, const QColor& color, int pixels);

} // namespace nocta
