#include "Interface/Popover/PopoverModel.h"

#include "Core/AppState.h"
#include "Core/UserActions.h"
#include "Interface/Bands.h"
#include "Interface/Theme.h"

#include <memory>
#include <string_view>

namespace nocta {

namespace {

QString toQt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QStringList ofEachTab(std::string_view (*describe)(PopoverTab)) {
    QStringList result;
    for (const auto tab : popoverTabs) {
        result.push_back(toQt(describe(tab)));
    }
    return result;
}

} // namespace

PopoverModel::PopoverModel() {
    auto& state = AppState::shared();
    const auto changesFilter = [this](const auto&) { Q_EMIT filterChanged(); };
    subscriptions.push_back(state.filterEnabled.observe(changesFilter));
    subscriptions.push_back(state.activePresetID.observe(changesFilter));
    subscriptions.push_back(state.customTemp.observe(changesFilter));
    subscriptions.push_back(state.exposureScore.observe([this](const auto&) { Q_EMIT scoreChanged(); }));
    connect(&Theme::shared(), &Theme::changed, this, &PopoverModel::scoreChanged);
}

PopoverScene PopoverModel::makeScene() {
    const auto model = std::make_shared<PopoverModel>();
    return {.source = QUrl(QStringLiteral("qrc:/qt-project.org/imports/Nocta/Popover/PopoverView.qml")),
            .properties =
                [model] {
                    return QVariantMap{{QStringLiteral("model"), QVariant::fromValue(model.get())}};
                },
            .shownChanged = [model](bool isShown) { model->setShown(isShown); }};
}

bool PopoverModel::filterEnabled() {
    return AppState::shared().filterEnabled.get();
}

void PopoverModel::setFilterEnabled(bool enabled) {
    userActions::setFilterEnabled(enabled);
}

QString PopoverModel::title() {
    return filterEnabled() ? QString::fromStdString(AppState::shared().activePreset().name)
                           : QStringLiteral("Filter Off");
}

QString PopoverModel::subtitle() {
    return filterEnabled() ? QString::number(AppState::shared().effectiveTemp()) + u'K'
                           : QStringLiteral("Click to enable");
}

QString PopoverModel::score() {
    return QString::number(AppState::shared().exposureScore.get());
}

QColor PopoverModel::scoreColor() {
    return Theme::shared().color(nocta::scoreColor(AppState::shared().exposureScore.get()));
}

QStringList PopoverModel::tabLabels() {
    return ofEachTab(&label);
}

QStringList PopoverModel::tabIcons() {
    return ofEachTab(&icon);
}

void PopoverModel::setSelectedTab(int index) {
    const auto selected = popoverTabs.at(static_cast<std::size_t>(index));
    if (selected == tab) {
        return;
    }
    tabModel()->setOnScreen(false);
    tab = selected;
    tabModel()->setOnScreen(shown);
    Q_EMIT selectedTabChanged();
}

QString PopoverModel::tabView() const {
    return toQt(label(tab)) + QStringLiteral("View.qml");
}

TabModel* PopoverModel::tabModel() {
    switch (tab) {
    case PopoverTab::presets:
        return &presets;
    case PopoverTab::schedule:
        return &schedule;
    case PopoverTab::breaks:
        return &breaks;
    case PopoverTab::stats:
        return &stats;
    }
    return nullptr;
}

void PopoverModel::setShown(bool isShown) {
    shown = isShown;
    tabModel()->setOnScreen(shown);
}

void PopoverModel::quit() {
    userActions::quit();
}

} // namespace nocta
