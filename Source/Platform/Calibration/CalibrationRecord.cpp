#include "Platform/Calibration/CalibrationRecord.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <utility>

namespace nocta {

namespace {

// Layout, in the byte order of the machine (a reader of another order does not recognise the mark):
//   header: mark (8 bytes), length of the whole record (8), owner (8), its client's mark (8), number of CRTCs (8)
//   each CRTC: its number (4), entries a channel (4), three channels of 16-bit entries
//   the session and the client's name, each: its length (4), its bytes
//   checksum of everything before it (8)
constexpr std::uint64_t mark = 0x324c4143'4154434eU; // "NCTACAL2"

struct Header {
    std::uint64_t mark = 0;
    std::uint64_t length = 0;
    std::uint64_t owner = 0;
    std::uint64_t client = 0;
    std::uint64_t count = 0;
};
static_assert(sizeof(Header) == CalibrationRecord::headerSize);

struct CrtcHeader {
    std::uint32_t crtc = 0;
    std::uint32_t size = 0;
};

/// FNV-1a, 64 bits (Fowler, Noll, Vo).
std::uint64_t checksum(std::span<const std::byte> bytes) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const auto byte : bytes) {
        hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3U;
    }
    return hash;
}

template <class Value>
void append(std::vector<std::byte>& bytes, const Value& value) {
    const auto raw = std::as_bytes(std::span(&value, 1));
    bytes.insert(bytes.end(), raw.begin(), raw.end());
}

/// Takes a value off the front; nothing where too little is left.
template <class Value>
std::optional<Value> take(std::span<const std::byte>& bytes) {
    if (bytes.size() < sizeof(Value)) {
        return std::nullopt;
    }
    Value value;
    std::memcpy(&value, bytes.data(), sizeof(Value));
    bytes = bytes.subspan(sizeof(Value));
    return value;
}

void appendText(std::vector<std::byte>& bytes, const std::string& text) {
    append(bytes, static_cast<std::uint32_t>(text.size()));
    const auto raw = std::as_bytes(std::span(text));
    bytes.insert(bytes.end(), raw.begin(), raw.end());
}

std::optional<std::string> takeText(std::span<const std::byte>& bytes) {
    const auto length = take<std::uint32_t>(bytes);
    if (!length || *length > bytes.size()) {
        return std::nullopt;
    }
    std::string text(*length, '\0');
    std::memcpy(text.data(), bytes.data(), text.size());
    bytes = bytes.subspan(text.size());
    return text;
}

} // namespace

std::uint64_t CalibrationRecord::randomOwner() {
    std::random_device random;
    return std::uint64_t{random()} << 32U | random();
}

std::vector<std::byte> CalibrationRecord::encode() const {
    std::size_t length =
        headerSize + 2 * sizeof(std::uint32_t) + session.size() + clientName.size() + sizeof(std::uint64_t);
    for (const auto& display : displays) {
        length += sizeof(CrtcHeader) + display.values.size() * sizeof(std::uint16_t);
    }
    std::vector<std::byte> bytes;
    bytes.reserve(length);
    append(bytes, Header{.mark = mark, .length = length, .owner = owner, .client = client, .count = displays.size()});
    for (const auto& display : displays) {
        append(bytes, CrtcHeader{.crtc = display.crtc, .size = static_cast<std::uint32_t>(display.size())});
        const auto raw = std::as_bytes(std::span(display.values));
        bytes.insert(bytes.end(), raw.begin(), raw.end());
    }
    appendText(bytes, session);
    appendText(bytes, clientName);
    append(bytes, checksum(bytes));
    return bytes;
}

std::optional<CalibrationRecord> CalibrationRecord::decode(std::span<const std::byte> bytes) {
    const auto length = encodedSize(bytes.first(std::min(bytes.size(), headerSize)));
    if (!length || *length != bytes.size()) {
        return std::nullopt;
    }
    const auto content = bytes.first(bytes.size() - sizeof(std::uint64_t));
    auto ending = bytes.last(sizeof(std::uint64_t));
    if (take<std::uint64_t>(ending) != checksum(content)) {
        return std::nullopt;
    }
    auto rest = content;
    const auto header = take<Header>(rest).value();
    if (header.client > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    CalibrationRecord record{
        .owner = header.owner, .client = static_cast<std::uint32_t>(header.client), .displays = {}};
    for (std::uint64_t i = 0; i < header.count; ++i) {
        const auto crtc = take<CrtcHeader>(rest);
        if (!crtc || crtc->size == 0 || crtc->size > rest.size() / (3 * sizeof(std::uint16_t))) {
            return std::nullopt;
        }
        auto& display = record.displays.emplace_back();
        display.crtc = crtc->crtc;
        display.values.resize(std::size_t{3} * crtc->size);
        const auto rampBytes = display.values.size() * sizeof(std::uint16_t);
        std::memcpy(display.values.data(), rest.data(), rampBytes);
        rest = rest.subspan(rampBytes);
    }
    auto session = takeText(rest);
    auto clientName = takeText(rest);
    if (!session || !clientName || !rest.empty()) {
        return std::nullopt;
    }
    record.session = std::move(*session);
    record.clientName = std::move(*clientName);
    return record;
}

std::optional<std::size_t> CalibrationRecord::encodedSize(std::span<const std::byte> header) {
    const auto fields = take<Header>(header);
    if (!fields || fields->mark != mark || fields->length < headerSize + sizeof(std::uint64_t) ||
        fields->length > largestEncoding) {
        return std::nullopt;
    }
    return fields->length;
}

} // namespace nocta
