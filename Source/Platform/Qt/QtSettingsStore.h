#pragma once

#include "Platform/SettingsStore.h"

#include <QSettings>

namespace nocta {

/// The settings file, an INI file with everything in [General]. Entries of other programs or versions are kept.
///
/// In the file every value is text: `SettingsStore`'s conversions are made from it. Bytes stand as `@ByteArray(...)`. A
/// file that is cut off or damaged is read as far as it goes; one that cannot be read counts as empty, one that cannot
/// be written stays as it is.
class QtSettingsStore final : public SettingsStore {
  public:
    /// `path` need not exist, nor its folder. At most one process may have a store on it.
    explicit QtSettingsStore(const QString& path);

    /// The user's file: nocta/nocta.conf in $XDG_CONFIG_HOME, or in ~/.config.
    [[nodiscard]] static QString userFile();

    [[nodiscard]] bool contains(std::string_view key) const override;
    [[nodiscard]] std::optional<std::string> text(std::string_view key) const override;
    [[nodiscard]] std::int64_t integer(std::string_view key) const override;
    [[nodiscard]] double real(std::string_view key) const override;
    [[nodiscard]] bool boolean(std::string_view key) const override;
    [[nodiscard]] std::optional<std::string> data(std::string_view key) const override;

    void setText(std::string_view key, std::string_view value) override;
    void setInteger(std::string_view key, std::int64_t value) override;
    void setReal(std::string_view key, double value) override;
    void setBoolean(std::string_view key, bool value) override;
    void setData(std::string_view key, std::string_view bytes) override;
    void synchronize() override;

  private:
    [[nodiscard]] QVariant value(std::string_view key) const;

    QSettings file;
};

} // namespace nocta
