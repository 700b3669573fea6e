#pragma once

#include "Platform/LocationService.h"

#include <span>
#include <vector>

namespace nocta {

/// A location service whose answers a test gives.
class SimulatedLocationService final : public LocationService {
  public:
    /// Hands `locations` to the delegate, if updates are on.
    void deliver(std::span<const Location> locations) {
        if (isUpdating && delegate != nullptr) {
            delegate->didUpdateLocations(locations);
        }
    }
    void fail() {
        if (delegate != nullptr) {
            delegate->didFail();
        }
    }

    [[nodiscard]] const std::vector<LocationAccuracy>& accuracies() const { return recordedAccuracies; }
    [[nodiscard]] int authorizationRequests() const { return recordedAuthorizationRequests; }
    [[nodiscard]] int starts() const { return recordedStarts; }
    [[nodiscard]] int stops() const { return recordedStops; }

    void setDelegate(LocationDelegate* newDelegate) override { delegate = newDelegate; }
    void setDesiredAccuracy(LocationAccuracy accuracy) override { recordedAccuracies.push_back(accuracy); }
    void requestWhenInUseAuthorization() override { ++recordedAuthorizationRequests; }
    void startUpdatingLocation() override {
        ++recordedStarts;
        isUpdating = true;
    }
    void stopUpdatingLocation() override {
        ++recordedStops;
        isUpdating = false;
    }

  private:
    LocationDelegate* delegate = nullptr;
    bool isUpdating = false;
    std::vector<LocationAccuracy> recordedAccuracies;
    int recordedAuthorizationRequests = 0;
    int recordedStarts = 0;
    int recordedStops = 0;
};

} // namespace nocta
