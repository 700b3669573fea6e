#pragma once

#include <functional>
#include <memory>
#include <optional>

namespace nocta {

enum class ColorScheme { light, dark };

/// Ends the observation when it is destroyed.
class AppearanceObserver {
  public:
    AppearanceObserver() = default;
    AppearanceObserver(const AppearanceObserver&) = delete;
    AppearanceObserver& operator=(const AppearanceObserver&) = delete;
    virtual ~AppearanceObserver() = default;
};

/// What the user asked the desktop for in the looks of programs. Main thread only. What the desktop does not tell is
/// absent, also while the first answer is under way.
class Appearance {
  public:
    Appearance() = default;
    Appearance(const Appearance&) = delete;
    Appearance& operator=(const Appearance&) = delete;
    virtual ~Appearance() = default;

    /// Absent where the user has no preference, or the desktop knows none.
    [[nodiscard]] virtual std::optional<ColorScheme> colorScheme() const = 0;

    /// Whether motion should be left out.
    [[nodiscard]] virtual bool reducesMotion() const = 0;

    /// Calls back from the run loop whenever an answer has become another one. The observer outlives no service.
    [[nodiscard]] virtual std::unique_ptr<AppearanceObserver> observe(std::function<void()> handler) = 0;
};

} // namespace nocta
