#pragma once

#include <span>

namespace nocta {

/// Degrees, north and east positive.
struct Location {
    double latitude = 0;
    double longitude = 0;

    bool operator==(const Location&) const = default;
};

enum class LocationAccuracy {
    city, ///< a few kilometres: all that the time of sunrise needs
};

/// Is told of fixes, from the run loop.
class LocationDelegate {
  public:
    LocationDelegate() = default;
    LocationDelegate(const LocationDelegate&) = delete;
    LocationDelegate& operator=(const LocationDelegate&) = delete;
    virtual ~LocationDelegate() = default;

    /// The newest comes last. Latitudes lie in [-90, 90], longitudes in [-180, 180].
    virtual void didUpdateLocations(std::span<const Location> locations) = 0;
    /// No fix for now, for whatever reason; a later one is not excluded.
    virtual void didFail() = 0;
};

/// Where the user is. Main thread only; nothing here waits, and a fix is never written anywhere.
class LocationService {
  public:
    LocationService() = default;
    LocationService(const LocationService&) = delete;
    LocationService& operator=(const LocationService&) = delete;
    virtual ~LocationService() = default;

    /// `delegate` outlives the service, or is replaced before.
    virtual void setDelegate(LocationDelegate* delegate) = 0;
    virtual void setDesiredAccuracy(LocationAccuracy accuracy) = 0;
    /// Asks the user, where the desktop does, unless that is settled.
    virtual void requestWhenInUseAuthorization() = 0;
    /// Fixes are delivered from now on, the first when there is one. Starting what is started changes nothing.
    virtual void startUpdatingLocation() = 0;
    virtual void stopUpdatingLocation() = 0;
};

} // namespace nocta
