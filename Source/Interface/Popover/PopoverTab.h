#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace nocta {

/// The tabs of the popover, in the order of the tab bar.
enum class PopoverTab { presets, schedule, breaks, stats };

inline constexpr std::array popoverTabs{PopoverTab::presets, PopoverTab::schedule, PopoverTab::breaks,
                                        PopoverTab::stats};

[[nodiscard]] std::string_view label(PopoverTab tab);
/// The name of its symbol.
[[nodiscard]] std::string_view icon(PopoverTab tab);
/// The tab of exactly that label.
[[nodiscard]] std::optional<PopoverTab> popoverTab(std::string_view label);

} // namespace nocta
