#include "Remote/RemoteProperty.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/UserActions.h"
#include "Platform/Clock.h"
#include "Platform/DisplayService.h"
#include "Platform/Platform.h"
#include "Platform/Workspace.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QTime>

namespace nocta {

namespace {

using Profiles = QMap<QString, QString>;
using Outcome = std::optional<RemoteError>;

// What the popover offers a person.
constexpr std::int64_t lowestTemp = 1900;
constexpr std::int64_t highestTemp = 6500;
constexpr double lowestBrightness = 0.3;
constexpr double highestBrightness = 1.0;
constexpr std::array<std::int64_t, 5> intervals{15, 20, 30, 45, 60};
constexpr std::array<std::int64_t, 4> durations{15, 20, 30, 60};

const QString timeFormat = QStringLiteral("HH:mm");

AppState& state() {
    return AppState::shared();
}

QString text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

template <std::size_t count>
QString listed(const std::array<std::int64_t, count>& values) {
    QStringList texts;
    for (const auto value : values) {
        texts.append(QString::number(value));
    }
    return texts.join(QStringLiteral(", "));
}

QString presetIDs() {
    QStringList ids;
    for (const auto& preset : Preset::builtIn) {
        ids.append(text(preset.id));
    }
    return ids.join(QStringLiteral(", "));
}

/// Null, and an error, for an id that no preset has.
std::pair<const Preset*, Outcome> presetNamed(const QString& id) {
    const Preset* preset = builtInPreset(id.toStdString());
    if (preset != nullptr) {
        return {preset, std::nullopt};
    }
    return {nullptr, RemoteError::invalidArguments(
                         QStringLiteral("There is no preset \"%1\": there are %2.").arg(id, presetIDs()))};
}

Outcome wrongProfile(const QString& application, const QString& preset) {
    if (application.isEmpty()) {
        return RemoteError::invalidArguments(QStringLiteral(
            "An application's id is not empty: it is the name of its desktop file without \".desktop\"."));
    }
    return presetNamed(preset).second;
}

QVariant readProfiles() {
    Profiles profiles;
    for (const auto& [application, preset] : state().appProfiles.get()) {
        profiles.insert(text(application), text(preset));
    }
    return QVariant::fromValue(profiles);
}

Outcome writeProfiles(const QVariant& value) {
    const auto wanted = qdbus_cast<Profiles>(value);
    ProfileMap profiles;
    for (auto profile = wanted.begin(); profile != wanted.end(); ++profile) {
        if (auto error = wrongProfile(profile.key(), profile.value())) {
            return error;
        }
        profiles.insert_or_assign(profile.key().toStdString(), profile.value().toStdString());
    }
    state().appProfiles = std::move(profiles);
    return std::nullopt;
}

/// The local time of day, all of it that counts. An instant beyond every calendar counts as midnight.
QVariant readTimeOfDay(const Instant& instant) {
    const auto components = Platform::current().calendar->components(instant).value_or(DateComponents());
    return QTime(static_cast<int>(components.hour), static_cast<int>(components.minute)).toString(timeFormat);
}

/// A writer of what a person picks in hours and minutes.
auto timeOfDayWriter(void (*set)(int hour, int minute)) {
    return [set](const QVariant& value) -> Outcome {
        const auto time = QTime::fromString(value.toString(), timeFormat);
        if (!time.isValid()) {
            return RemoteError::invalidArguments(
                QStringLiteral("A time of day is written as hours and minutes, from 00:00 to 23:59."));
        }
        set(time.hour(), time.minute());
        return std::nullopt;
    };
}

auto switchWriter(void (*set)(bool isOn)) {
    return [set](const QVariant& value) -> Outcome {
        set(value.toBool());
        return std::nullopt;
    };
}

Outcome writeCustomTemp(const QVariant& value) {
    const auto kelvin = value.toLongLong();
    if (kelvin < lowestTemp || kelvin > highestTemp) {
        return RemoteError::invalidArguments(
            QStringLiteral("A temperature is %1 to %2 kelvin.").arg(lowestTemp).arg(highestTemp));
    }
    userActions::setCustomTemp(kelvin);
    return std::nullopt;
}

Outcome writeCustomBrightness(const QVariant& value) {
    const double factor = value.toDouble();
    // In this form also for what is no number.
    if (!(factor >= lowestBrightness && factor <= highestBrightness)) {
        return RemoteError::invalidArguments(QStringLiteral("A brightness is %1 to %2.")
                                                 .arg(lowestBrightness, 0, 'f', 1)
                                                 .arg(highestBrightness, 0, 'f', 1));
    }
    userActions::setCustomBrightness(factor);
    return std::nullopt;
}

Outcome writeBreakInterval(const QVariant& value) {
    if (std::ranges::count(intervals, value.toLongLong()) == 0) {
        return RemoteError::invalidArguments(
            QStringLiteral("The minutes between breaks are one of %1.").arg(listed(intervals)));
    }
    userActions::setBreakIntervalMinutes(value.toLongLong());
    return std::nullopt;
}

Outcome writeBreakDuration(const QVariant& value) {
    if (std::ranges::count(durations, value.toLongLong()) == 0) {
        return RemoteError::invalidArguments(
            QStringLiteral("The seconds of a break are one of %1.").arg(listed(durations)));
    }
    userActions::setBreakDurationSeconds(value.toLongLong());
    return std::nullopt;
}

/// Whole seconds, cut off as the popover's countdown does; -1 where no break will come.
QVariant readTimeUntilBreak() {
    const auto& breaks = BreakEngine::shared();
    if (!breaks.isCycleRunning()) {
        return QVariant::fromValue<qlonglong>(-1);
    }
    // A clock that was set back by ages leaves more than an integer holds.
    constexpr double longest = 9e15;
    return QVariant::fromValue(static_cast<qlonglong>(std::min(breaks.timeUntilBreak().count(), longest)));
}

QVariant readFrontApplication() {
    const auto* workspace = Platform::current().workspace;
    const auto application = workspace != nullptr ? workspace->frontmostApplication() : std::nullopt;
    return application ? text(application->bundleIdentifier.value_or(std::string())) : QString();
}

QVariant readDisplays() {
    QList<QVariantMap> displays;
    for (const auto& display : Platform::current().displays->describe()) {
        displays.append({{QStringLiteral("id"), display.id},
                         {QStringLiteral("name"), text(display.name)},
                         {QStringLiteral("gammaSize"), static_cast<uint>(display.tableSize)},
                         {QStringLiteral("temperature"), display.hasTemperature},
                         {QStringLiteral("brightness"), display.hasBrightness}});
    }
    return QVariant::fromValue(displays);
}

QVariant readPresets() {
    QList<QVariantMap> presets;
    for (const auto& preset : Preset::builtIn) {
        presets.append({{QStringLiteral("id"), text(preset.id)},
                        {QStringLiteral("name"), text(preset.name)},
                        {QStringLiteral("temperature"), QVariant::fromValue<qlonglong>(preset.colorTemp)},
                        {QStringLiteral("brightness"), preset.brightness}});
    }
    return QVariant::fromValue(presets);
}

/// A reader of a property of the state.
auto reader(Setting<std::string> AppState::*member) {
    return [member] { return QVariant(text((state().*member).get())); };
}
auto reader(Setting<bool> AppState::*member) {
    return [member] { return QVariant((state().*member).get()); };
}
auto reader(Setting<double> AppState::*member) {
    return [member] { return QVariant((state().*member).get()); };
}
auto reader(Setting<Instant> AppState::*member) {
    return [member] { return readTimeOfDay((state().*member).get()); };
}
auto reader(Setting<std::int64_t> AppState::*member) {
    return [member] { return QVariant::fromValue<qlonglong>((state().*member).get()); };
}
auto reader(Property<std::int64_t> AppState::*member) {
    return [member] { return QVariant::fromValue<qlonglong>((state().*member).get()); };
}

std::vector<RemoteProperty> makeProperties() {
    qDBusRegisterMetaType<Profiles>();
    qDBusRegisterMetaType<QList<QVariantMap>>();
    const auto name = [](const char* literal) { return QString::fromLatin1(literal); };
    const auto boolean = name("b");
    const auto integer = name("x");
    const auto real = name("d");
    const auto string = name("s");
    const auto dictionaries = name("aa{sv}");
    return {
        {name("filterEnabled"), boolean, reader(&AppState::filterEnabled),
         switchWriter(&userActions::setFilterEnabled)},
        {name("activePresetID"), string, reader(&AppState::activePresetID),
         [](const QVariant& id) { return choosePresetByID(id.toString()); }},
        {name("customTemp"), integer, reader(&AppState::customTemp), &writeCustomTemp},
        {name("customBrightness"), real, reader(&AppState::customBrightness), &writeCustomBrightness},
        {name("scheduleEnabled"), boolean, reader(&AppState::scheduleEnabled),
         switchWriter(&userActions::setScheduleEnabled)},
        {name("scheduleUsesLocation"), boolean, reader(&AppState::scheduleUsesLocation),
         switchWriter(&userActions::setScheduleUsesLocation)},
        {name("manualSunrise"), string, reader(&AppState::manualSunrise),
         timeOfDayWriter(&userActions::setManualSunrise)},
        {name("manualSunset"), string, reader(&AppState::manualSunset), timeOfDayWriter(&userActions::setManualSunset)},
        {name("breaksEnabled"), boolean, reader(&AppState::breaksEnabled),
         switchWriter(&userActions::setBreaksEnabled)},
        {name("breakIntervalMinutes"), integer, reader(&AppState::breakIntervalMinutes), &writeBreakInterval},
        {name("breakDurationSeconds"), integer, reader(&AppState::breakDurationSeconds), &writeBreakDuration},
        {name("appProfiles"), name("a{ss}"), &readProfiles, &writeProfiles},
        {name("launchAtLogin"), boolean, reader(&AppState::launchAtLogin),
         switchWriter(&userActions::setLaunchAtLogin)},
        {name("showMenuBarScore"), boolean, reader(&AppState::showMenuBarScore),
         switchWriter(&userActions::setShowMenuBarScore)},
        {name("exposureScore"), integer, reader(&AppState::exposureScore)},
        {name("totalFilteredMinutes"), integer, reader(&AppState::totalFilteredMinutes)},
        {name("breaksTaken"), integer, reader(&AppState::breaksTaken)},
        {name("breaksSkipped"), integer, reader(&AppState::breaksSkipped)},
        {name("activePresetName"), string, [] { return QVariant(text(state().activePreset().name)); }},
        {name("effectiveTemp"), integer, [] { return QVariant::fromValue<qlonglong>(state().effectiveTemp()); }},
        {name("effectiveBrightness"), real, [] { return QVariant(state().effectiveBrightness()); }},
        {name("breakShown"), boolean, [] { return QVariant(BreakEngine::shared().isBreakShown()); }},
        {.name = name("timeUntilBreak"), .signature = integer, .read = &readTimeUntilBreak, .isAnnounced = false},
        {name("frontApplication"), string, &readFrontApplication},
        {.name = name("displayService"),
         .signature = string,
         .read = [] { return QVariant(text(std::string(Platform::current().displays->mechanism()))); },
         .isAnnounced = false},
        {.name = name("displays"), .signature = dictionaries, .read = &readDisplays, .isAnnounced = false},
        {.name = name("presets"), .signature = dictionaries, .read = &readPresets, .isAnnounced = false},
        {.name = name("version"),
         .signature = string,
         .read = [] { return QVariant(QStringLiteral(NOCTA_VERSION)); },
         .isAnnounced = false},
    };
}

} // namespace

const std::vector<RemoteProperty>& RemoteProperty::all() {
    static const auto properties = makeProperties();
    return properties;
}

const RemoteProperty* RemoteProperty::find(const QString& name) {
    const auto found = std::ranges::find(all(), name, &RemoteProperty::name);
    return found == all().end() ? nullptr : &*found;
}

std::optional<RemoteError> setProfile(const QString& application, const QString& preset) {
    if (auto error = wrongProfile(application, preset)) {
        return error;
    }
    auto profiles = state().appProfiles.get();
    profiles.insert_or_assign(application.toStdString(), preset.toStdString());
    state().appProfiles = std::move(profiles);
    return std::nullopt;
}

std::optional<RemoteError> removeProfile(const QString& application) {
    auto profiles = state().appProfiles.get();
    if (profiles.erase(application.toStdString()) == 0) {
        return RemoteError{.name = QStringLiteral("org.nocta.Nocta1.Error.NoProfile"),
                           .text = QStringLiteral("There is no profile of \"%1\".").arg(application)};
    }
    state().appProfiles = std::move(profiles);
    return std::nullopt;
}

std::optional<RemoteError> choosePresetByID(const QString& id) {
    const auto [preset, error] = presetNamed(id);
    if (preset == nullptr) {
        return error;
    }
    if (!userActions::choosePreset(*preset)) {
        return RemoteError{.name = QStringLiteral("org.nocta.Nocta1.Error.FilterOff"),
                           .text = QStringLiteral("The filter is off: presets can be chosen while it is on.")};
    }
    return std::nullopt;
}

} // namespace nocta
