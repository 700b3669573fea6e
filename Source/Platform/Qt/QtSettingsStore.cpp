#include "Platform/Qt/QtSettingsStore.h"

#include <cmath>

#include <QFile>
#include <QStandardPaths>

namespace nocta {

namespace {

QString nameOf(std::string_view key) {
    return QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
}

/// Nothing for text that is no finite number in the notation of the C locale.
std::optional<double> finiteNumber(const QVariant& value) {
    bool isNumber = false;
    const double number = value.toString().trimmed().toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

} // namespace

QtSettingsStore::QtSettingsStore(const QString& path) : file(path, QSettings::IniFormat) {
    // QSettings locks the file against other writers, of which there are none, while it saves. A process killed just
    // then leaves its lock, which the next one would wait for, for half a minute.
    QFile::remove(path + QStringLiteral(".lock"));
}

QString QtSettingsStore::userFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/nocta/nocta.conf");
}

bool QtSettingsStore::contains(std::string_view key) const {
    return file.contains(nameOf(key));
}

std::optional<std::string> QtSettingsStore::text(std::string_view key) const {
    const QVariant stored = value(key);
    if (stored.typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return stored.toString().toStdString();
}

std::int64_t QtSettingsStore::integer(std::string_view key) const {
    const QVariant stored = value(key);
    bool isInteger = false;
    const qlonglong whole = stored.toString().trimmed().toLongLong(&isInteger);
    if (isInteger) {
        return whole;
    }
    const auto number = finiteNumber(stored);
    return number && std::abs(*number) < 0x1p63 ? static_cast<std::int64_t>(*number) : 0;
}

double QtSettingsStore::real(std::string_view key) const {
    return finiteNumber(value(key)).value_or(0.0);
}

bool QtSettingsStore::boolean(std::string_view key) const {
    const QVariant stored = value(key);
    const QString word = stored.toString().trimmed().toLower();
    return word == u"true" || word == u"yes" || word == u"on" || finiteNumber(stored).value_or(0.0) != 0.0;
}

std::optional<std::string> QtSettingsStore::data(std::string_view key) const {
    const QVariant stored = value(key);
    if (stored.typeId() != QMetaType::QByteArray) {
        return std::nullopt;
    }
    return stored.toByteArray().toStdString();
}

void QtSettingsStore::setText(std::string_view key, std::string_view value) {
    file.setValue(nameOf(key), QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())));
}

void QtSettingsStore::setInteger(std::string_view key, std::int64_t value) {
    file.setValue(nameOf(key), static_cast<qlonglong>(value));
}

void QtSettingsStore::setReal(std::string_view key, double value) {
    file.setValue(nameOf(key), value);
}

void QtSettingsStore::setBoolean(std::string_view key, bool value) {
    file.setValue(nameOf(key), value);
}

void QtSettingsStore::setData(std::string_view key, std::string_view bytes) {
    file.setValue(nameOf(key), QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

void QtSettingsStore::synchronize() {
    file.sync();
}

QVariant QtSettingsStore::value(std::string_view key) const {
    return file.value(nameOf(key));
}

} // namespace nocta
