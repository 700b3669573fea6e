#include "Core/AppWatcher.h"

#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Platform/Platform.h"
#include "Platform/RunLoop.h"

#include <utility>

namespace nocta {

namespace {

/// Seconds of the fade for an application without a profile, whatever the active preset's own.
constexpr double unprofiledTransitionSecs = 2.0;

} // namespace

AppWatcher& AppWatcher::shared() {
    static AppWatcher& instance = *new AppWatcher;
    return instance;
}

void AppWatcher::start() {
    auto* workspace = Platform::current().workspace;
    if (workspace == nullptr) {
        return;
    }
    if (observer) {
        orphanedObservers.push_back(std::move(observer));
    }
    observer = workspace->addActivationObserver([this](const RunningApplication& application) {
        if (application.bundleIdentifier) {
            Platform::current().runLoop->async(
                [this, bundleID = *application.bundleIdentifier] { applicationActivated(bundleID); });
        }
    });
}

void AppWatcher::stop() {
    observer.reset();
}

void AppWatcher::applicationActivated(const std::string& bundleID) {
    if (bundleID == lastBundleID) {
        return;
    }
    lastBundleID = bundleID;
    const auto& state = AppState::shared();
    if (!state.filterEnabled.get()) {
        return;
    }
    const auto& profiles = state.appProfiles.get();
    if (const auto profile = profiles.find(bundleID); profile != profiles.end()) {
        if (const Preset* preset = builtInPreset(profile->second)) {
            FilterEngine::shared().apply(preset->colorTemp, preset->brightness, preset->transitionSecs);
            return;
        }
    }
    const Preset& activePreset = state.activePreset();
    FilterEngine::shared().apply(activePreset.colorTemp, activePreset.brightness, unprofiledTransitionSecs);
}

} // namespace nocta
