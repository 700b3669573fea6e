#pragma once

#include "Platform/Simulated/SimulatedHandlers.h"
#include "Platform/Workspace.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace nocta {

/// A workspace whose applications come to the front when a test says so.
class SimulatedWorkspace final : public Workspace {
  public:
    /// Brings an application of that identifier, or without one, to the front, also where it is there already.
    void activate(std::optional<std::string> bundleIdentifier) {
        front = RunningApplication{std::move(bundleIdentifier)};
        handlers.call(*front);
    }

    [[nodiscard]] std::size_t observers() const { return handlers.count(); }

    [[nodiscard]] bool isAvailable() const override { return true; }
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) override {
        return handlers.add(std::move(handler));
    }
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override { return front; }

  private:
    SimulatedHandlers<WorkspaceObserver, const RunningApplication&> handlers;
    std::optional<RunningApplication> front;
};

} // namespace nocta
