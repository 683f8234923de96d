#include "controls/ShieldShape.h"
#include "shield/FrostedBackdrop.h"
#include "shield/PrivacyOverlayController.h"

#include <QPainter>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

std::vector<QPointF> points(const QPainterPath &path)
{
    std::vector<QPointF> result;
    for (int i = 0; i < path.elementCount(); ++i)
        result.emplace_back(path.elementAt(i));
    return result;
}

} // namespace

TEST(ShieldShapeTest, OutlineIn100By100IgnoringTheOrigin)
{
    const QPainterPath path = ShieldShape::path(QRectF(0, 0, 100, 100));
    // move, line, two cubics (two controls and an end each), then the closing line.
    const std::vector<QPointF> expected = {{50, 0},  {100, 18}, {100, 62}, {82, 88}, {50, 100},
                                           {18, 88}, {0, 62},   {0, 18},   {50, 0}};
    EXPECT_EQ(points(path), expected);
    EXPECT_EQ(points(ShieldShape::path(QRectF(30, -40, 100, 100))), expected);
    EXPECT_TRUE(path.contains(QPointF(50, 50)));
    EXPECT_FALSE(path.contains(QPointF(5, 5))) << "the top corners are cut by the shoulders";
}

TEST(ShieldLayoutTest, PillSitsCentredAbove120PixelsFromTheBottom)
{
    EXPECT_EQ(PrivacyOverlayController::pillGeometry(QRect(0, 0, 1440, 900)), QRect(600, 732, 240, 48));
    EXPECT_EQ(PrivacyOverlayController::pillGeometry(QRect(1920, 100, 1920, 1080)),
              QRect(1920 + 840, 100 + 1080 - 168, 240, 48));
}

TEST(FrostedBackdropTest, BlursStronglyAndKeepsFlatColoursFlat)
{
    QImage flat(64, 48, QImage::Format_RGB32);
    flat.fill(qRgb(40, 120, 200));
    const QImage frostedFlat = FrostedBackdrop::frost(flat);
    EXPECT_EQ(frostedFlat.size(), QSize(8, 6));
    EXPECT_EQ(frostedFlat.pixel(0, 0), qRgb(40, 120, 200));
    EXPECT_EQ(frostedFlat.pixel(7, 5), qRgb(40, 120, 200));

    // Black and white halves: frosted, the edge spreads over many shrunk pixels,
    // so text of any ordinary size is unreadable.
    QImage halves(800, 80, QImage::Format_RGB32);
    halves.fill(Qt::black);
    QPainter(&halves).fillRect(400, 0, 400, 80, Qt::white);
    const QImage frosted = FrostedBackdrop::frost(halves);
    int greys = 0;
    for (int x = 0; x < frosted.width(); ++x) {
        const int level = qGray(frosted.pixel(x, 5));
        greys += level > 20 && level < 235;
    }
    EXPECT_GE(greys * FrostedBackdrop::downscale, 64) << "the edge spreads over several lines of text";
    EXPECT_LT(qGray(frosted.pixel(0, 5)), 20);
    EXPECT_GT(qGray(frosted.pixel(frosted.width() - 1, 5)), 235);
    EXPECT_TRUE(FrostedBackdrop::frost(QImage()).isNull());
}
