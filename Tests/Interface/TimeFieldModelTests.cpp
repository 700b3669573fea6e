#include "Interface/Controls/TimeFieldModel.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using Times = std::vector<std::pair<int, int>>;

const QLocale german(QLocale::German, QLocale::Germany);
const QLocale american(QLocale::English, QLocale::UnitedStates);

/// A field that is shown what its user wants, as in the popover.
class Field {
  public:
    Field(const QLocale& locale, int hour, int minute) : model(locale) {
        model.setHour(hour);
        model.setMinute(minute);
        QObject::connect(&model, &TimeFieldModel::edited, &model, [this](int newHour, int newMinute) {
            edits.emplace_back(newHour, newMinute);
            model.setHour(newHour);
            model.setMinute(newMinute);
        });
        QObject::connect(&model, &TimeFieldModel::filled, &model, [this] { ++filled; });
    }

    bool type(TimeFieldModel::Part part, const char* text) { return model.type(part, QString::fromUtf8(text)); }
    Times take() { return std::exchange(edits, {}); }

    TimeFieldModel model;
    int filled = 0;

  private:
    Times edits;
};

TEST(TimeFieldModelTest, ReadsAsTheLocaleWritesIt) {
    const Field day(german, 18, 5);
    EXPECT_EQ(day.model.hourText(), QStringLiteral("18"));
    EXPECT_EQ(day.model.minuteText(), QStringLiteral("05"));
    EXPECT_EQ(day.model.separator(), QStringLiteral(":"));
    EXPECT_FALSE(day.model.hasPeriod());
    const Field halves(american, 18, 5);
    EXPECT_EQ(halves.model.hourText(), QStringLiteral("6"));
    EXPECT_TRUE(halves.model.hasPeriod());
    EXPECT_FALSE(halves.model.isPeriodFirst());
    EXPECT_EQ(halves.model.periodText(), QStringLiteral("PM"));
    EXPECT_TRUE(Field(QLocale(QLocale::Korean), 18, 5).model.isPeriodFirst());
    EXPECT_EQ(Field(QLocale(QLocale::Finnish), 18, 5).model.separator(), QStringLiteral("."));
}

TEST(TimeFieldModelTest, MidnightAndNoonAreTwelve) {
    const Field midnight(american, 0, 0);
    EXPECT_EQ(midnight.model.hourText(), QStringLiteral("12"));
    EXPECT_EQ(midnight.model.periodText(), QStringLiteral("AM"));
    const Field noon(american, 12, 0);
    EXPECT_EQ(noon.model.hourText(), QStringLiteral("12"));
    EXPECT_EQ(noon.model.periodText(), QStringLiteral("PM"));
}

TEST(TimeFieldModelTest, APartThatIsTurnedPastItsEndBeginsAgainAndTakesNoOtherAlong) {
    Field field(german, 23, 59);
    field.model.step(TimeFieldModel::Minute, 1);
    field.model.step(TimeFieldModel::Hour, 1);
    field.model.step(TimeFieldModel::Minute, -1);
    field.model.step(TimeFieldModel::Hour, -3);
    EXPECT_EQ(field.take(), (Times{{23, 0}, {0, 0}, {0, 59}, {21, 59}}));
}

TEST(TimeFieldModelTest, TheHourIsTurnedThroughBothHalvesOfTheDay) {
    Field field(american, 11, 15);
    field.model.step(TimeFieldModel::Hour, 1);
    field.model.step(TimeFieldModel::Period, 1);
    field.model.step(TimeFieldModel::Period, -1);
    EXPECT_EQ(field.take(), (Times{{12, 15}, {0, 15}, {12, 15}}));
}

TEST(TimeFieldModelTest, TwoDigitsMakeANumberAndFillThePart) {
    Field field(german, 6, 30);
    field.type(TimeFieldModel::Hour, "1");
    EXPECT_EQ(field.filled, 0);
    field.type(TimeFieldModel::Hour, "8");
    EXPECT_EQ(field.filled, 1);
    field.type(TimeFieldModel::Minute, "0");
    field.type(TimeFieldModel::Minute, "7");
    EXPECT_EQ(field.filled, 2);
    EXPECT_EQ(field.take(), (Times{{1, 30}, {18, 30}, {18, 0}, {18, 7}}));
}

TEST(TimeFieldModelTest, ADigitAfterWhichNoneFitsFillsThePart) {
    Field field(german, 6, 30);
    field.type(TimeFieldModel::Hour, "3");
    EXPECT_EQ(field.filled, 1);
    field.type(TimeFieldModel::Minute, "6");
    EXPECT_EQ(field.filled, 2);
    EXPECT_EQ(field.take(), (Times{{3, 30}, {3, 6}}));
}

TEST(TimeFieldModelTest, ASecondDigitThatDoesNotFitBeginsANewNumber) {
    Field field(german, 6, 30);
    field.type(TimeFieldModel::Hour, "2");
    field.type(TimeFieldModel::Hour, "9");
    EXPECT_EQ(field.take(), (Times{{2, 30}, {9, 30}}));
}

TEST(TimeFieldModelTest, WhatIsTypedAfterAPauseStandsByItself) {
    Field field(german, 6, 30);
    field.type(TimeFieldModel::Hour, "1");
    field.model.finishTyping();
    field.type(TimeFieldModel::Hour, "2");
    EXPECT_EQ(field.take(), (Times{{1, 30}, {2, 30}}));
}

TEST(TimeFieldModelTest, InHalvesOfTheDayTheHourKeepsItsHalf) {
    Field field(american, 18, 30);
    field.type(TimeFieldModel::Hour, "1");
    field.type(TimeFieldModel::Hour, "2");
    field.type(TimeFieldModel::Hour, "0");
    EXPECT_EQ(field.take(), (Times{{13, 30}, {12, 30}})) << "there is no hour 0";
    field.type(TimeFieldModel::Hour, "9");
    EXPECT_EQ(field.take(), (Times{{21, 30}}));
}

TEST(TimeFieldModelTest, TheHalfIsTypedByItsFirstLetter) {
    Field field(american, 18, 30);
    EXPECT_TRUE(field.type(TimeFieldModel::Period, "a"));
    EXPECT_TRUE(field.type(TimeFieldModel::Period, "P"));
    EXPECT_TRUE(field.type(TimeFieldModel::Period, "p"));
    EXPECT_FALSE(field.type(TimeFieldModel::Period, "x"));
    EXPECT_EQ(field.take(), (Times{{6, 30}, {18, 30}}));
}

TEST(TimeFieldModelTest, OtherKeysMeanNothing) {
    Field field(german, 6, 30);
    EXPECT_FALSE(field.type(TimeFieldModel::Hour, "x"));
    EXPECT_FALSE(field.type(TimeFieldModel::Minute, ""));
    EXPECT_TRUE(field.take().empty());
}

TEST(TimeFieldModelTest, WantingWhatIsThereIsNoEdit) {
    Field field(german, 6, 30);
    field.type(TimeFieldModel::Hour, "6");
    field.model.step(TimeFieldModel::Hour, 24);
    EXPECT_TRUE(field.take().empty());
}

} // namespace
} // namespace nocta
