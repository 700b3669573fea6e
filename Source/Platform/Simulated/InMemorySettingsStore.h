#pragma once

#include "Platform/SettingsStore.h"

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace nocta {

/// Settings that end with the process. Values keep the type they were set with; reading one as another type gives the
/// contract's value for what cannot be converted.
class InMemorySettingsStore final : public SettingsStore {
  public:
    struct Data {
        std::string bytes;
        bool operator==(const Data&) const = default;
    };
    using Value = std::variant<std::string, std::int64_t, double, bool, Data>;

    /// What stands under each key.
    std::map<std::string, Value, std::less<>> values;

    /// The keys of every `set…` so far, in order.
    [[nodiscard]] const std::vector<std::string>& writes() const { return recordedWrites; }
    [[nodiscard]] int synchronizations() const { return recordedSynchronizations; }

    [[nodiscard]] bool contains(std::string_view key) const override;
    [[nodiscard]] std::optional<std::string> text(std::string_view key) const override;
    [[nodiscard]] std::int64_t integer(std::string_view key) const override;
    [[nodiscard]] double real(std::string_view key) const override;
    [[nodiscard]] bool boolean(std::string_view key) const override;
    [[nodiscard]] std::optional<std::string> data(std::string_view key) const override;

    void setText(std::string_view key, std::string_view value) override { set(key, std::string(value)); }
    void setInteger(std::string_view key, std::int64_t value) override { set(key, value); }
    void setReal(std::string_view key, double value) override { set(key, value); }
    void setBoolean(std::string_view key, bool value) override { set(key, value); }
    void setData(std::string_view key, std::string_view bytes) override { set(key, Data{std::string(bytes)}); }
    void synchronize() override { ++recordedSynchronizations; }

  private:
    void set(std::string_view key, Value value);
    template <class Type>
    [[nodiscard]] const Type* find(std::string_view key) const;

    std::vector<std::string> recordedWrites;
    int recordedSynchronizations = 0;
};

} // namespace nocta
