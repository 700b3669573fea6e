#pragma once

#include <csignal>
#include <string>

#include <gtest/gtest.h>

/// Expects that `statement` ends the process by an abort and that standard error holds exactly this message.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): a failure names the line of the test
#define EXPECT_FATAL(statement, message)                                                                               \
    EXPECT_EXIT(statement, testing::KilledBySignal(SIGABRT),                                                           \
                testing::Eq(std::string("Fatal error: ") + (message) + "\n"))

namespace nocta {

inline constexpr const char* notFinite = "Double value cannot be converted to Int because it is either infinite or NaN";
inline constexpr const char* belowRange =
    "Double value cannot be converted to Int because the result would be less than Int.min";
inline constexpr const char* aboveRange =
    "Double value cannot be converted to Int because the result would be greater than Int.max";

} // namespace nocta
