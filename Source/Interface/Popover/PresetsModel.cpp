#include "Interface/Popover/PresetsModel.h"

#include "Core/AppState.h"
#include "Core/CheckedArithmetic.h"
#include "Core/ColorTemperature.h"
#include "Core/Preset.h"
#include "Core/UserActions.h"
#include "Interface/Bands.h"
#include "Interface/Theme.h"

#include <algorithm>
#include <cmath>

namespace nocta {

namespace {

constexpr int whiteSteps = 4;

template <class Result, class Describe>
Result ofEachPreset(Describe describe) {
    Result result;
    for (const auto& preset : Preset::builtIn) {
        result.push_back(describe(preset));
    }
    return result;
}

QString inKelvin(std::int64_t kelvin) {
    return QString::number(kelvin) + u'K';
}

/// A whole percentage that would lose one to rounding when it is shown: the next number that does not.
double asShown(double factor) {
    constexpr double rounding = 1e-9;
    const double percent = std::round(factor * 100);
    const bool isWhole = std::abs(factor * 100 - percent) < rounding;
    return isWhole && factor * 100 < percent ? std::nextafter(percent / 100, 2.0) : factor;
}

} // namespace

PresetsModel::PresetsModel() {
    auto& state = AppState::shared();
    forward(state.activePresetID, &PresetsModel::activeIndexChanged);
    forward(state.filterEnabled, &PresetsModel::activeIndexChanged);
    forward(state.customTemp, &PresetsModel::customTempChanged);
    forward(state.customBrightness, &PresetsModel::customBrightnessChanged);
    connect(&Theme::shared(), &Theme::changed, this, &PresetsModel::colorsChanged);
}

QStringList PresetsModel::names() {
    return ofEachPreset<QStringList>([](const Preset& preset) { return QString::fromStdString(preset.name); });
}

QStringList PresetsModel::icons() {
    return ofEachPreset<QStringList>([](const Preset& preset) { return QString::fromStdString(preset.icon); });
}

QStringList PresetsModel::temperatures() {
    return ofEachPreset<QStringList>([](const Preset& preset) { return inKelvin(preset.colorTemp); });
}

QList<QColor> PresetsModel::colors() {
    return ofEachPreset<QList<QColor>>(
        [](const Preset& preset) { return Theme::shared().color(cardColor(preset.colorTemp)); });
}

int PresetsModel::activeIndex() {
    const auto& state = AppState::shared();
    const auto* const active = std::ranges::find(Preset::builtIn, state.activePresetID.get(), &Preset::id);
    const bool isHighlighted = state.filterEnabled.get() && active != Preset::builtIn.end();
    return isHighlighted ? static_cast<int>(active - Preset::builtIn.begin()) : -1;
}

void PresetsModel::pick(int index) {
    userActions::choosePreset(Preset::builtIn.at(static_cast<std::size_t>(index)));
}

qreal PresetsModel::customTemp() {
    return static_cast<qreal>(AppState::shared().customTemp.get());
}

void PresetsModel::setCustomTemp(qreal kelvin) {
    const auto temp = checkedInteger(kelvin);
    if (temp != AppState::shared().customTemp.get()) {
        userActions::setCustomTemp(temp);
    }
}

QString PresetsModel::customTempText() {
    return inKelvin(AppState::shared().customTemp.get());
}

QList<QColor> PresetsModel::whites() {
    QList<QColor> result;
    for (int step = 0; step <= whiteSteps; ++step) {
        const double share = static_cast<double>(step) / whiteSteps;
        const auto [r, g, b] = kelvinToRGB(checkedInteger(std::lerp(lowestTemp(), highestTemp(), share)));
        result.push_back(QColor::fromRgbF(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b)));
    }
    return result;
}

qreal PresetsModel::customBrightness() {
    return AppState::shared().customBrightness.get();
}

void PresetsModel::setCustomBrightness(qreal factor) {
    const double brightness = asShown(factor);
    if (brightness != AppState::shared().customBrightness.get()) {
        userActions::setCustomBrightness(brightness);
    }
}

QString PresetsModel::customBrightnessText() {
    return percentage(AppState::shared().customBrightness.get());
}

QString PresetsModel::percentage(double factor) {
    return QString::number(checkedInteger(factor * 100)) + u'%';
}

} // namespace nocta
