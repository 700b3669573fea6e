#include "Interface/Popover/PopoverTab.h"

#include <algorithm>

namespace nocta {

std::string_view label(PopoverTab tab) {
    switch (tab) {
    case PopoverTab::presets:
        return "Presets";
    case PopoverTab::schedule:
        return "Schedule";
    case PopoverTab::breaks:
        return "Breaks";
    case PopoverTab::stats:
        return "Stats";
    }
    return {};
}

std::string_view icon(PopoverTab tab) {
    switch (tab) {
    case PopoverTab::presets:
        return "slider.horizontal.3";
    case PopoverTab::schedule:
        return "clock";
    case PopoverTab::breaks:
        return "eye";
    case PopoverTab::stats:
        return "chart.bar";
    }
    return {};
}

std::optional<PopoverTab> popoverTab(std::string_view label) {
    const auto* const found = std::ranges::find(popoverTabs, label, [](PopoverTab tab) { return nocta::label(tab); });
    return found == popoverTabs.end() ? std::nullopt : std::optional(*found);
}

} // namespace nocta
