#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nocta {

/// The user's key-value settings, which outlive the process. Main thread only.
///
/// Reading never fails: a value of another type is converted as the members say. Writing never fails visibly: what
/// could not be written is kept in memory and tried again with the next `synchronize`.
class SettingsStore {
  public:
    SettingsStore() = default;
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;
    virtual ~SettingsStore() = default;

    /// Whether any value stands under `key`, of whatever type.
    [[nodiscard]] virtual bool contains(std::string_view key) const = 0;

    /// The text under `key`, or nothing when it is absent or no single text.
    [[nodiscard]] virtual std::optional<std::string> text(std::string_view key) const = 0;
    /// The whole number under `key`; a real number loses its fraction; 0 for what is no number of 64 bits.
    [[nodiscard]] virtual std::int64_t integer(std::string_view key) const = 0;
    /// The real number under `key`; 0.0 for what is no finite number.
    [[nodiscard]] virtual double real(std::string_view key) const = 0;
    /// True for "true", "yes", "on" (in any case) and for numbers other than zero, false for everything else.
    [[nodiscard]] virtual bool boolean(std::string_view key) const = 0;
    /// The bytes under `key`, or nothing when it is absent or holds no bytes.
    [[nodiscard]] virtual std::optional<std::string> data(std::string_view key) const = 0;

    virtual void setText(std::string_view key, std::string_view value) = 0;
    virtual void setInteger(std::string_view key, std::int64_t value) = 0;
    virtual void setReal(std::string_view key, double value) = 0;
    virtual void setBoolean(std::string_view key, bool value) = 0;
    virtual void setData(std::string_view key, std::string_view bytes) = 0;

    /// Makes everything set so far permanent in one step: a process killed at any moment leaves the old or the new
    /// settings, never a mixture.
    virtual void synchronize() = 0;
};

} // namespace nocta
