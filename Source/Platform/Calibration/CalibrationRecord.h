#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nocta {

/// The gamma ramps of one CRTC: all red entries, then all green, then all blue, from black to white.
struct CrtcRamps {
    std::uint32_t crtc = 0;
    std::vector<std::uint16_t> values;

    [[nodiscard]] std::size_t size() const { return values.size() / 3; }

    bool operator==(const CrtcRamps&) const = default;
};

/// What has to be put back when a tint ends: the ramps that the displays had before it, and whose tint it is. It stands
/// where a later Nocta finds it (on X11 in a property of the root window, with mutter in a file) and is sent to the
/// guard, in one encoding; both are read back only through `decode`, since any program may write the one and a dying
/// process may cut off the other.
struct CalibrationRecord {
    std::uint64_t owner = 0;  ///< a random number that each Nocta process draws
    std::uint32_t client = 0; ///< on X11, the window that marks the owner's connection to the server
    std::vector<CrtcRamps> displays;
    std::string session = {};    ///< whose displays these are, where the record does not stand with their server
    std::string clientName = {}; ///< on a message bus, the name of the owner's connection

    /// A number for `owner`.
    [[nodiscard]] static std::uint64_t randomOwner();

    bool operator==(const CalibrationRecord&) const = default;

    /// More than any real machine needs (64 CRTCs of 4096 entries take 1.5 MiB); what claims more is no record.
    static constexpr std::size_t largestEncoding = 8UL * 1024 * 1024;
    static constexpr std::size_t headerSize = 40;

    [[nodiscard]] std::vector<std::byte> encode() const;

    /// Nothing unless the bytes are one complete, undamaged record.
    [[nodiscard]] static std::optional<CalibrationRecord> decode(std::span<const std::byte> bytes);

    /// The length of the record that starts with these `headerSize` bytes; nothing where no record starts so.
    [[nodiscard]] static std::optional<std::size_t> encodedSize(std::span<const std::byte> header);
};

} // namespace nocta
