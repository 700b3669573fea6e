#include "Platform/Simulated/InMemorySettingsStore.h"

#include <utility>

namespace nocta {

template <class Type>
const Type* InMemorySettingsStore::find(std::string_view key) const {
    const auto entry = values.find(key);
    return entry == values.end() ? nullptr : std::get_if<Type>(&entry->second);
}

bool InMemorySettingsStore::contains(std::string_view key) const {
    return values.contains(key);
}

std::optional<std::string> InMemorySettingsStore::text(std::string_view key) const {
    const auto* value = find<std::string>(key);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

std::int64_t InMemorySettingsStore::integer(std::string_view key) const {
    const auto* value = find<std::int64_t>(key);
    return value != nullptr ? *value : 0;
}

double InMemorySettingsStore::real(std::string_view key) const {
    const auto* value = find<double>(key);
    return value != nullptr ? *value : 0.0;
}

bool InMemorySettingsStore::boolean(std::string_view key) const {
    const auto* value = find<bool>(key);
    return value != nullptr && *value;
}

std::optional<std::string> InMemorySettingsStore::data(std::string_view key) const {
    const auto* value = find<Data>(key);
    return value != nullptr ? std::optional(value->bytes) : std::nullopt;
}

void InMemorySettingsStore::set(std::string_view key, Value value) {
    recordedWrites.emplace_back(key);
    values.insert_or_assign(std::string(key), std::move(value));
}

} // namespace nocta
