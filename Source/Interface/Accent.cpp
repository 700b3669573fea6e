#include "Interface/Accent.h"

#include "Core/AppState.h"
#include "Interface/Bands.h"
#include "Interface/Theme.h"

namespace nocta {

Accent::Accent()
    : preset(AppState::shared().activePresetID.observe([this](const auto&) { Q_EMIT changed(); })),
      customTemp(AppState::shared().customTemp.observe([this](const auto&) { Q_EMIT changed(); })) {
    connect(&Theme::shared(), &Theme::changed, this, &Accent::changed);
}

Accent* Accent::create(QQmlEngine* /*engine*/, QJSEngine* /*scriptEngine*/) {
    return new Accent;
}

QColor Accent::color() {
    return Theme::shared().color(warmColor(AppState::shared().effectiveTemp()));
}

} // namespace nocta
