#include "Core/ExposureScore.h"

#include "FatalExit.h"

#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

TEST(ExposureScore, IsSixtyWithTheFilterOffWhateverTheTemperature) {
    for (const std::int64_t temp : {least, std::int64_t{1900}, std::int64_t{6500}, most}) {
        EXPECT_EQ(exposureScore(false, temp, 0, 0), 60) << temp;
    }
}

TEST(ExposureScore, RisesAtThreeTemperaturesOfWhichEachBelongsToTheWarmerSide) {
    EXPECT_EQ(exposureScore(true, most, 0, 0), 80);
    EXPECT_EQ(exposureScore(true, 6500, 0, 0), 80);
    EXPECT_EQ(exposureScore(true, 5001, 0, 0), 80);
    EXPECT_EQ(exposureScore(true, 5000, 0, 0), 90);
    EXPECT_EQ(exposureScore(true, 4001, 0, 0), 90);
    EXPECT_EQ(exposureScore(true, 4000, 0, 0), 95);
    EXPECT_EQ(exposureScore(true, 3001, 0, 0), 95);
    EXPECT_EQ(exposureScore(true, 3000, 0, 0), 100);
    EXPECT_EQ(exposureScore(true, 0, 0, 0), 100);
    EXPECT_EQ(exposureScore(true, least, 0, 0), 100);
}

TEST(ExposureScore, LosesTwentyPointsTimesTheShareOfSkippedBreaks) {
    EXPECT_EQ(exposureScore(true, 6500, 3, 1), 80 - 5);
    EXPECT_EQ(exposureScore(true, 2700, 0, 4), 100 - 20);
    EXPECT_EQ(exposureScore(true, 2700, 4, 0), 100);
    EXPECT_EQ(exposureScore(true, 2700, 1, 1), 100 - 10);
    EXPECT_EQ(exposureScore(false, 2700, 0, 1), 60 - 20);
}

TEST(ExposureScore, CutsOffTheFractionOfWhatIsLost) {
    EXPECT_EQ(exposureScore(true, 2700, 24, 1), 100) << "0.8";
    EXPECT_EQ(exposureScore(true, 2700, 2, 1), 100 - 6) << "6.67";
    EXPECT_EQ(exposureScore(true, 2700, 1, 999), 100 - 19) << "19.98";
}

RC_GTEST_PROP(ExposureScore, LosesTheWholePartOfTheExactShare, ()) {
    const auto taken = *rc::gen::inRange<std::int64_t>(0, 100'000);
    const auto skipped = *rc::gen::inRange<std::int64_t>(0, 100'000);
    const std::int64_t lost = taken + skipped > 0 ? 20 * skipped / (taken + skipped) : 0;
    RC_ASSERT(exposureScore(true, 3000, taken, skipped) == 100 - lost);
}

TEST(ExposureScore, StaysFromZeroToAHundredWhateverWasCounted) {
    EXPECT_EQ(exposureScore(true, 3000, -1, 1000), 100 - 20) << "20.02";
    EXPECT_EQ(exposureScore(false, 3000, -999, 1000), 0);
    EXPECT_EQ(exposureScore(true, 3000, 1000, -999), 100);
    EXPECT_EQ(exposureScore(true, 3000, -1, -1), 100) << "no breaks to have a share of";
}

TEST(ExposureScoreDeathTest, CountsThatTogetherExceedSixtyFourBitsAreFatal) {
    EXPECT_FATAL((void)exposureScore(true, 3000, most, 1), "Arithmetic overflow in integer addition");
}

} // namespace
} // namespace nocta
