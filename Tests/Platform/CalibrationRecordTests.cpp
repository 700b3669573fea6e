#include "Platform/Calibration/CalibrationRecord.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using Bytes = std::vector<std::byte>;

CalibrationRecord arbitraryRecord() {
    CalibrationRecord record{
        .owner = *rc::gen::arbitrary<std::uint64_t>(), .client = *rc::gen::arbitrary<std::uint32_t>(), .displays = {}};
    const int count = *rc::gen::inRange(0, 5);
    for (int i = 0; i < count; ++i) {
        const auto size = *rc::gen::inRange<std::size_t>(1, 40);
        record.displays.push_back(
            {.crtc = *rc::gen::arbitrary<std::uint32_t>(),
             .values = *rc::gen::container<std::vector<std::uint16_t>>(3 * size, rc::gen::arbitrary<std::uint16_t>())});
    }
    record.session = *rc::gen::arbitrary<std::string>();
    record.clientName = *rc::gen::arbitrary<std::string>();
    return record;
}

CalibrationRecord twoDisplays() {
    return {.owner = 42,
            .client = 0x600001,
            .displays = {{.crtc = 63, .values = {1, 2, 3, 4, 5, 6}}, {.crtc = 64, .values = {7, 8, 9}}},
            .session = "there",
            .clientName = ":1.5"};
}

RC_GTEST_PROP(CalibrationRecord, ComesBackAsItWasEncoded, ()) {
    const auto record = arbitraryRecord();
    const auto bytes = record.encode();
    RC_ASSERT(CalibrationRecord::decode(bytes) == record);
    RC_ASSERT(CalibrationRecord::encodedSize(std::span(bytes).first(CalibrationRecord::headerSize)) == bytes.size());
}

RC_GTEST_PROP(CalibrationRecord, AnyChangedByteIsNoticed, ()) {
    auto bytes = arbitraryRecord().encode();
    const auto position = *rc::gen::inRange<std::size_t>(0, bytes.size());
    bytes[position] ^= static_cast<std::byte>(*rc::gen::inRange(1, 256));
    RC_ASSERT(!CalibrationRecord::decode(bytes));
}

RC_GTEST_PROP(CalibrationRecord, AnyOtherLengthIsNoticed, ()) {
    auto bytes = arbitraryRecord().encode();
    const auto length = *rc::gen::distinctFrom(rc::gen::inRange<std::size_t>(0, bytes.size() + 100), bytes.size());
    bytes.resize(length);
    RC_ASSERT(!CalibrationRecord::decode(bytes));
}

RC_GTEST_PROP(CalibrationRecord, ArbitraryBytesAreNoRecord, (const std::vector<std::uint8_t>& noise)) {
    Bytes bytes(noise.size());
    std::transform(noise.begin(), noise.end(), bytes.begin(), [](std::uint8_t byte) { return std::byte{byte}; });
    RC_ASSERT(!CalibrationRecord::decode(bytes));
}

/// Changes one field of a valid record and makes the checksum right again, as a forger would.
Bytes forged(std::size_t offset, std::uint64_t value, std::size_t width) {
    auto bytes = twoDisplays().encode();
    std::memcpy(bytes.data() + offset, &value, width);
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < bytes.size() - 8; ++i) {
        hash = (hash ^ std::to_integer<std::uint64_t>(bytes[i])) * 0x100000001b3U;
    }
    std::memcpy(bytes.data() + bytes.size() - 8, &hash, 8);
    return bytes;
}

TEST(CalibrationRecord, TheForgeryHelperForgesAValidRecord) {
    const auto record = CalibrationRecord::decode(forged(16, 43, 8));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->owner, 43U);
}

TEST(CalibrationRecord, CountsAndSizesBeyondItsBytesAreNoticedBehindARightChecksum) {
    constexpr std::size_t countOffset = 32;
    constexpr std::size_t firstSizeOffset = 44;
    constexpr std::size_t clientOffset = 24;
    constexpr std::size_t sessionOffset = 40 + 8 + 12 + 8 + 6;
    EXPECT_FALSE(CalibrationRecord::decode(forged(countOffset, 1, 8))) << "bytes left over";
    EXPECT_FALSE(CalibrationRecord::decode(forged(countOffset, 3, 8)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(countOffset, UINT64_MAX, 8)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(clientOffset, std::uint64_t{1} << 32, 8)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(firstSizeOffset, 0, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(firstSizeOffset, 3, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(firstSizeOffset, UINT32_MAX, 4)));
    EXPECT_TRUE(CalibrationRecord::decode(forged(sessionOffset, 5, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(sessionOffset, 4, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(sessionOffset, 14, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(sessionOffset, UINT32_MAX, 4)));
    EXPECT_FALSE(CalibrationRecord::decode(forged(sessionOffset + 4 + 5, 5, 4)));
}

TEST(CalibrationRecord, AHeaderThatClaimsMoreThanAnyMachineNeedsIsNone) {
    auto bytes = twoDisplays().encode();
    const std::uint64_t length = CalibrationRecord::largestEncoding + 1;
    std::memcpy(bytes.data() + 8, &length, sizeof length);
    EXPECT_FALSE(CalibrationRecord::encodedSize(std::span(bytes).first(CalibrationRecord::headerSize)));
}

} // namespace
} // namespace nocta
