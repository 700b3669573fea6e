#include "Core/Setting.h"

#include "Platform/SettingsStore.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace nocta {

namespace stored {

std::optional<std::string> read(const SettingsStore& store, std::string_view key, std::type_identity<std::string>) {
    return store.text(key);
}

std::optional<std::int64_t> read(const SettingsStore& store, std::string_view key, std::type_identity<std::int64_t>) {
    return store.contains(key) ? std::optional(store.integer(key)) : std::nullopt;
}

std::optional<double> read(const SettingsStore& store, std::string_view key, std::type_identity<double>) {
    return store.contains(key) ? std::optional(store.real(key)) : std::nullopt;
}

std::optional<bool> read(const SettingsStore& store, std::string_view key, std::type_identity<bool>) {
    return store.contains(key) ? std::optional(store.boolean(key)) : std::nullopt;
}

std::optional<Instant> read(const SettingsStore& store, std::string_view key, std::type_identity<Instant>) {
    return store.contains(key) ? std::optional(Instant(Seconds(store.real(key)))) : std::nullopt;
}

std::optional<ProfileMap> read(const SettingsStore& store, std::string_view key, std::type_identity<ProfileMap>) {
    const auto bytes = store.data(key);
    // The parser would take a zero byte for the end and what is before it for the whole.
    if (!bytes || bytes->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    constexpr bool throwing = false;
    const auto json = nlohmann::json::parse(*bytes, nullptr, throwing);
    if (!json.is_object()) {
        return std::nullopt;
    }
    ProfileMap profiles;
    for (const auto& [application, preset] : json.items()) {
        if (!preset.is_string()) {
            return std::nullopt;
        }
        profiles.emplace(application, preset.get<std::string>());
    }
    return profiles;
}

void write(SettingsStore& store, std::string_view key, const std::string& value) {
    store.setText(key, value);
}

void write(SettingsStore& store, std::string_view key, std::int64_t value) {
    store.setInteger(key, value);
}

void write(SettingsStore& store, std::string_view key, double value) {
    store.setReal(key, value);
}

void write(SettingsStore& store, std::string_view key, bool value) {
    store.setBoolean(key, value);
}

void write(SettingsStore& store, std::string_view key, Instant value) {
    store.setReal(key, value.time_since_epoch().count());
}

void write(SettingsStore& store, std::string_view key, const ProfileMap& value) {
    try {
        store.setData(key, nlohmann::json(value).dump());
    } catch (const nlohmann::json::exception&) {
        // A text that is not UTF-8 has no JSON form: the entry stays as it was.
    }
}

} // namespace stored

void SettingsObject::moveToEnd(const StoredEntry& entry) {
    const auto position = std::ranges::find(entries, &entry);
    std::rotate(position, position + 1, entries.end());
}

void SettingsObject::loadDefaults() {
    for (auto* entry : entries) {
        entry->load(*defaults);
    }
}

void SettingsObject::saveDefaults() {
    for (const auto* entry : entries) {
        entry->save(*defaults);
    }
    defaults->synchronize();
}

} // namespace nocta
