#pragma once

#include "Platform/LocationService.h"
#include "Platform/Time.h"

#include <memory>

namespace nocta {

/// GeoClue on the system bus, asked as the application `org.nocta.Nocta`. The bus is not touched before the first
/// request.
///
/// A request fails where there is no bus, no GeoClue, no agent in the session that lets programs be located, where the
/// user has denied it, where GeoClue goes away, tells a place that is none or does not tell any in time. Then the
/// delegate is told, an answer that still comes is not heard, and the next `startUpdatingLocation` asks anew.
class GeoClueLocationService final : public LocationService {
  public:
    /// `patience` is how long a request may be without a first fix.
    explicit GeoClueLocationService(Seconds patience = Seconds(60));
    GeoClueLocationService(const GeoClueLocationService&) = delete;
    GeoClueLocationService& operator=(const GeoClueLocationService&) = delete;
    ~GeoClueLocationService() override;

    void setDelegate(LocationDelegate* delegate) override;
    void setDesiredAccuracy(LocationAccuracy accuracy) override;
    /// Nothing: GeoClue asks its agent itself whenever a client starts.
    void requestWhenInUseAuthorization() override {}
    void startUpdatingLocation() override;
    void stopUpdatingLocation() override;

  private:
    class Client;

    std::unique_ptr<Client> client;
};

} // namespace nocta
