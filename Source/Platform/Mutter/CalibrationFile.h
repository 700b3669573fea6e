#pragma once

#include "Platform/Calibration/CalibrationRecord.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace nocta {

/// The file `nocta-calibration` in the user's runtime folder: there while a tint is on the screen, so that a Nocta that
/// starts after every process of the last one was killed still finds the displays' own ramps. The folder goes with the
/// user's last session. Where there is none, nothing is kept.
class CalibrationFile {
  public:
    /// In $XDG_RUNTIME_DIR.
    CalibrationFile();

    /// Keeps the other processes of Nocta from file and displays while it lives, or while its process does.
    class Lock {
      public:
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock();

        /// False where another process kept it beyond the patience.
        [[nodiscard]] bool isHeld() const { return isOurs; }

      private:
        friend CalibrationFile;
        Lock(const std::string& path, std::chrono::milliseconds patience);

        int descriptor = -1;
        bool isOurs = true;
    };
    [[nodiscard]] Lock lock(std::chrono::milliseconds patience) const { return {path + ".lock", patience}; }

    /// Nothing where there is no file, or none of ours, or one that holds no whole record.
    [[nodiscard]] std::optional<CalibrationRecord> read() const;
    /// Replaces the file in one step. Where that fails, the record of before is gone too.
    void write(std::span<const std::byte> encodedRecord) const;
    void remove() const;

  private:
    std::string path; ///< empty where there is no folder
};

} // namespace nocta
