#pragma once

#include "Platform/Application.h"

#include <utility>
#include <vector>

namespace nocta {

/// An application whose loop is the test: `run` only launches, `terminate` tells the delegate at once.
class SimulatedApplication final : public Application {
  public:
    /// The policies asked for, in order.
    [[nodiscard]] const std::vector<ActivationPolicy>& policies() const { return recordedPolicies; }

    void setActivationPolicy(ActivationPolicy policy) override { recordedPolicies.push_back(policy); }

    void run(ApplicationDelegate& newDelegate) override {
        delegate = &newDelegate;
        delegate->applicationDidFinishLaunching();
    }

    void terminate() override {
        if (delegate != nullptr) {
            std::exchange(delegate, nullptr)->applicationWillTerminate();
        }
    }

  private:
    ApplicationDelegate* delegate = nullptr;
    std::vector<ActivationPolicy> recordedPolicies;
};

} // namespace nocta
