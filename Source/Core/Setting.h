#pragma once

#include "Core/Property.h"
#include "Platform/Time.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace nocta {

class SettingsStore;

/// Application identifier to preset id.
using ProfileMap = std::map<std::string, std::string, std::less<>>;

/// How each type of setting stands in the store. Reading gives nothing where the key is absent or holds nothing of use,
/// so that the default stays; writing leaves the entry as it was where the value cannot be encoded.
namespace stored {
std::optional<std::string> read(const SettingsStore& store, std::string_view key, std::type_identity<std::string>);
std::optional<std::int64_t> read(const SettingsStore& store, std::string_view key, std::type_identity<std::int64_t>);
std::optional<double> read(const SettingsStore& store, std::string_view key, std::type_identity<double>);
std::optional<bool> read(const SettingsStore& store, std::string_view key, std::type_identity<bool>);
std::optional<Instant> read(const SettingsStore& store, std::string_view key, std::type_identity<Instant>);
std::optional<ProfileMap> read(const SettingsStore& store, std::string_view key, std::type_identity<ProfileMap>);

void write(SettingsStore& store, std::string_view key, const std::string& value);
void write(SettingsStore& store, std::string_view key, std::int64_t value);
void write(SettingsStore& store, std::string_view key, double value);
void write(SettingsStore& store, std::string_view key, bool value);
void write(SettingsStore& store, std::string_view key, Instant value);
void write(SettingsStore& store, std::string_view key, const ProfileMap& value);
} // namespace stored

/// One entry of the settings store, whatever its type.
class StoredEntry {
  public:
    StoredEntry() = default;
    StoredEntry(const StoredEntry&) = delete;
    StoredEntry& operator=(const StoredEntry&) = delete;
    virtual ~StoredEntry() = default;

    virtual void load(const SettingsStore& store) = 0;
    virtual void save(SettingsStore& store) const = 0;
};

/// An observable object whose settings live in a store. A setting registers itself when it is constructed; the order of
/// construction is the order of loading and saving.
class SettingsObject : public ObservableObject {
  protected:
    /// Saves and loads `entry` after all others.
    void moveToEnd(const StoredEntry& entry);
    /// Reads every setting that the store holds; a key that is absent leaves the default.
    void loadDefaults();
    /// Writes the snapshot of all settings, whichever of them changed.
    void saveDefaults();

    SettingsStore* defaults = nullptr;
    /// While true, assignments reach the observers but are neither saved nor reacted to.
    bool isInitializing = true;

  private:
    template <class Value>
    friend class Setting;

    std::vector<StoredEntry*> entries;
};

/// A property that outlives the process.
template <class Value>
class Setting final : public Property<Value>, public StoredEntry {
  public:
    /// `key` is a literal. `reaction` is called with every value assigned after loading, when it has been saved.
    Setting(SettingsObject& owner, std::string_view key, Value initial, void (*reaction)(const Value&) = nullptr)
        : Property<Value>(owner, std::move(initial), [this] { didAssign(); }),
          owner(owner),
          key(key),
          reaction(reaction) {
        owner.entries.push_back(this);
    }

    using Property<Value>::operator=;

    void load(const SettingsStore& store) override {
        if (auto present = stored::read(store, key, std::type_identity<Value>())) {
            *this = *std::move(present);
        }
    }

    void save(SettingsStore& store) const override { stored::write(store, key, this->get()); }

  private:
    void didAssign() {
        if (owner.isInitializing) {
            return;
        }
        owner.saveDefaults();
        if (reaction != nullptr) {
            reaction(this->get());
        }
    }

    SettingsObject& owner;
    std::string_view key;
    void (*reaction)(const Value&);
};

} // namespace nocta
