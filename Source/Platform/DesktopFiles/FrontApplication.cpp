#include "Platform/DesktopFiles/FrontApplication.h"

#include <utility>

namespace nocta {

class FrontApplication::Observer final : public WorkspaceObserver {
  public:
    Observer(FrontApplication& front, std::shared_ptr<Observation> observation)
        : front(front), observation(std::move(observation)) {}
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() override { front.end(observation); }

  private:
    FrontApplication& front;
    std::shared_ptr<Observation> observation;
};

FrontApplication::FrontApplication(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders,
                                   Handlers handlers)
    : loop(loop), desktopFiles(std::move(desktopFileFolders)), handlers(std::move(handlers)) {}

std::unique_ptr<WorkspaceObserver> FrontApplication::addObserver(Workspace::ActivationHandler handler) {
    auto observation = std::make_shared<Observation>(std::move(handler));
    observations.push_back(observation);
    if (observations.size() == 1) {
        handlers.onFirstObserver();
    }
    return std::make_unique<Observer>(*this, std::move(observation));
}

void FrontApplication::end(const std::shared_ptr<Observation>& observation) {
    *observation = nullptr;
    std::erase(observations, observation);
    if (observations.empty()) {
        nextFiles.reset();
        current.reset();
        following.reset();
        handlers.onLastObserver();
    }
}

void FrontApplication::cameToFront(WindowNames names, bool isNews) {
    if (observations.empty()) {
        return;
    }
    Search wanted{.names = std::move(names), .isNews = isNews};
    if (current) {
        following = std::move(wanted);
        return;
    }
    current = std::move(wanted);
    // Not from within the back end's events, in which an observer would end what they are about.
    nextFiles = loop.oneShot(Seconds(0), [this] { search(); });
}

void FrontApplication::search() {
    nextFiles.reset();
    // About two milliseconds' worth: a fade goes on meanwhile.
    constexpr std::size_t filesATurn = 50;
    if (current->names == WindowNames() || desktopFiles.isCurrent() || desktopFiles.readOn(filesATurn)) {
        finish();
    } else {
        nextFiles = loop.oneShot(Seconds(0), [this] { search(); });
    }
}

void FrontApplication::finish() {
    const auto found = *std::exchange(current, std::nullopt);
    const auto application = named(found.names);
    if (auto next = std::exchange(following, std::nullopt)) {
        cameToFront(std::move(next->names), next->isNews);
    }
    if (application == std::exchange(front, application) || !found.isNews) {
        return;
    }
    const auto observed = observations;
    for (const auto& observation : observed) {
        // It may end its own observation.
        if (const auto handler = *observation) {
            handler(application);
        }
    }
}

RunningApplication FrontApplication::named(const WindowNames& names) const {
    if (!names.application.empty()) {
        if (auto id = desktopFiles.idOfWindowClass(names.application, names.application)) {
            return {.bundleIdentifier = std::move(id)};
        }
    }
    if (auto id = desktopFiles.idOfWindowClass(names.instance, names.className)) {
        return {.bundleIdentifier = std::move(id)};
    }
    const auto& name = names.application.empty() ? names.className : names.application;
    return {.bundleIdentifier = name.empty() ? std::nullopt : std::optional(lowerCase(name))};
}

} // namespace nocta
