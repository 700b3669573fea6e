#include "App/AppDelegate.h"

#include "Core/AppState.h"
#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Platform/Platform.h"

namespace nocta {

void AppDelegate::applicationDidFinishLaunching() {
    auto* application = Platform::current().application;
    if (application == nullptr) {
        fatalError("Unexpectedly found nil while implicitly unwrapping an Optional value");
    }
    application->setActivationPolicy(ActivationPolicy::accessory);

    const auto& state = AppState::shared();
    if (state.filterEnabled.get()) {
        FilterEngine::shared().applyImmediate(state.effectiveTemp(), state.effectiveBrightness());
    }
}

void AppDelegate::applicationWillTerminate() {
    FilterEngine::shared().resetAllDisplays();
}

} // namespace nocta
