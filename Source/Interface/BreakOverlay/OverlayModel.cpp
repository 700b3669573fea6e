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

double filledShare(const ProgressIndicator& bar) {
    const double range = bar.maxValue - bar.minValue;
    // Not a number, where the range is empty, counts as empty too.
    const double filled = (bar.value - bar.minValue) / range;
    return range > 0 && filled > 0 ? std::min(filled, 1.0) : 0;
}

} // namespace

void OverlayModel::setContent(const OverlayContent& content) {
    const auto show = [this](OverlayText& shown, const TextLabel& label, void (OverlayModel::*changed)()) {
        if (auto text = described(label); text != shown) {
            shown = std::move(text);
            Q_EMIT(this->*changed)();
        }
    };
    show(eyeText, content.eye, &OverlayModel::eyeChanged);
    show(titleText, content.title, &OverlayModel::titleChanged);
    show(subtitleText, content.subtitle, &OverlayModel::subtitleChanged);
    show(countdownText, content.countdown, &OverlayModel::countdownChanged);
    show(skipText,
         {.text = content.skip.title, .pointSize = content.skip.pointSize, .textColor = content.skip.contentTintColor},
         &OverlayModel::skipChanged);
    const double fill = filledShare(content.progress);
    if (std::exchange(filled, fill) != fill) {
        Q_EMIT progressChanged();
    }
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

} // namespace nocta
