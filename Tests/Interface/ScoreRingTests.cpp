#include "Interface/Popover/ScoreRing.h"

#include "Interface/OffscreenApplication.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace nocta {
namespace {

/// The ring of the popover, 90 wide with strokes of 10, in red on white.
class ScoreRingTest : public testing::Test {
  protected:
    ScoreRingTest() {
        ring.setSize(QSizeF(90, 90));
        ring.setProperty("color", QColor(Qt::red));
        ring.setProperty("lineWidth", 10.0);
    }

    void draw(double fraction) {
        picture.fill(Qt::white);
        ring.setProperty("fraction", fraction);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        ring.paint(&painter);
    }

    [[nodiscard]] bool isFilled(int x, int y) const { return picture.pixelColor(x, y) == QColor(Qt::red); }
    /// 15 percent of red over white.
    [[nodiscard]] bool isTrack(int x, int y) const {
        const QColor color = picture.pixelColor(x, y);
        return color.red() == 255 && std::abs(color.green() - 217) <= 1 && color.green() == color.blue();
    }
    [[nodiscard]] bool isEmpty(int x, int y) const { return picture.pixelColor(x, y) == QColor(Qt::white); }

    // Within the strokes: on the middle line, 40 from the centre.
    void expectRight(bool filled) const { EXPECT_EQ(isFilled(85, 45), filled); }
    void expectBottom(bool filled) const { EXPECT_EQ(isFilled(45, 85), filled); }
    void expectLeft(bool filled) const { EXPECT_EQ(isFilled(5, 45), filled); }

    test::OffscreenApplication application;
    QImage picture{90, 90, QImage::Format_RGB32};
    ScoreRing ring;
};

TEST_F(ScoreRingTest, BeginsAtTheTopAndRunsClockwise) {
    draw(0.4);
    EXPECT_TRUE(isFilled(45, 5));
    expectRight(true);
    expectBottom(false);
    expectLeft(false);
    EXPECT_TRUE(isTrack(5, 45));
    draw(0.6);
    expectBottom(true);
    expectLeft(false);
    draw(0.85);
    expectLeft(true);
}

TEST_F(ScoreRingTest, FillsItsSquareAndLeavesItsInsideAlone) {
    draw(1);
    for (const int edge : {1, 88}) {
        EXPECT_TRUE(isFilled(45, edge));
        EXPECT_TRUE(isFilled(edge, 45));
    }
    EXPECT_TRUE(isEmpty(45, 45));
    EXPECT_TRUE(isEmpty(45, 12));
    EXPECT_TRUE(isEmpty(1, 1));
}

TEST_F(ScoreRingTest, OfNothingNotEvenTheRoundCapIsDrawn) {
    for (const double nothing : {0.0, -1.0}) {
        draw(nothing);
        EXPECT_TRUE(isTrack(45, 5));
        EXPECT_TRUE(isTrack(85, 45));
    }
}

TEST_F(ScoreRingTest, MoreThanTheWholeIsTheWhole) {
    draw(1);
    const QImage whole = picture;
    draw(7);
    EXPECT_EQ(picture, whole);
    EXPECT_TRUE(isFilled(5, 45));
}

TEST_F(ScoreRingTest, ItsEndsAreRound) {
    draw(0.5);
    // Around the middle of the stroke's end, 5 from it and no further.
    EXPECT_TRUE(isFilled(41, 5));
    EXPECT_TRUE(isTrack(39, 5));
    EXPECT_TRUE(isTrack(40, 1)) << "a square end would be here";
    EXPECT_TRUE(isFilled(41, 84));
    EXPECT_TRUE(isTrack(40, 88));
}

} // namespace
} // namespace nocta
