#include "Interface/BreakOverlay/OverlayModel.h"

#include "Interface/Theme.h"

#include <algorithm>
#include <utility>

namespace nocta {

namespace {

QColor toQt(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

OverlayText described(const TextLabel& label) {
    return {.text = QString::fromStdString(label.text),
            .font = Theme::display(label.pointSize, label.weight),
            .color = toQt(label.textColor)};
}

} // namespace

void OverlayModel::setContent(const OverlayContent& newContent) {
    content = newContent;
    Q_EMIT contentChanged();
}

void OverlayModel::setOpacity(qreal opacity) {
    if (std::exchange(currentOpacity, opacity) != opacity) {
        Q_EMIT opacityChanged();
    }
}

void OverlayModel::setTakesInput(bool takesInput) {
    if (std::exchange(inputIsTaken, takesInput) != takesInput) {
        Q_EMIT takesInputChanged();
    }
}

OverlayText OverlayModel::eye() const {
    return described(content.eye);
}

OverlayText OverlayModel::title() const {
    return described(content.title);
}

OverlayText OverlayModel::subtitle() const {
    return described(content.subtitle);
}

OverlayText OverlayModel::countdown() const {
    return described(content.countdown);
}

OverlayText OverlayModel::skip() const {
    return described(
        {.text = content.skip.title, .pointSize = content.skip.pointSize, .textColor = content.skip.contentTintColor});
}

qreal OverlayModel::progress() const {
    const auto& bar = content.progress;
    const double range = bar.maxValue - bar.minValue;
    // Not a number, where the range is empty, counts as empty too.
    const double filled = (bar.value - bar.minValue) / range;
    return range > 0 && filled > 0 ? std::min(filled, 1.0) : 0;
}

} // namespace nocta
