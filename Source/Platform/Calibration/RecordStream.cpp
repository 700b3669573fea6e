#include "Platform/Calibration/RecordStream.h"

#include <array>
#include <cerrno>
#include <utility>

#include <unistd.h>

namespace nocta {

void RecordStream::append(std::span<const std::byte> bytes) {
    if (isBroken) {
        return;
    }
    pending.insert(pending.end(), bytes.begin(), bytes.end());
    while (pending.size() >= CalibrationRecord::headerSize) {
        const auto length = CalibrationRecord::encodedSize(std::span(pending).first(CalibrationRecord::headerSize));
        if (!length) {
            // Without its length nobody can tell where the next record starts.
            isBroken = true;
            pending = {};
            return;
        }
        if (pending.size() < *length) {
            return;
        }
        if (auto record = CalibrationRecord::decode(std::span(pending).first(*length))) {
            newest = std::move(record);
        }
        pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(*length));
    }
}

bool RecordStream::receive(int descriptor) {
    std::array<std::byte, 16384> buffer{};
    const auto count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
        append(std::span(buffer).first(static_cast<std::size_t>(count)));
    }
    return count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
}

} // namespace nocta
