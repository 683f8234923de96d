// The building blocks drawn at twice the scale (this binary runs with
// QT_SCALE_FACTOR=2), as on a HiDPI screen.
#include "SettingsTestFixture.h"
#include "settings/AppIconView.h"
#include "settings/BlendScrollArea.h"
#include "settings/ContinuousCorners.h"
#include "settings/GeneralTab.h"
#include "settings/IconChip.h"
#include "settings/SettingsView.h"
#include "settings/ToggleSwitch.h"

#include <QTest>

using namespace veilora;
using namespace veilora::test;

namespace {

QColor pixel(const QImage &image, QPointF logical)
{
    const qreal ratio = image.devicePixelRatio();
    return image.pixelColor(int(logical.x() * ratio), int(logical.y() * ratio));
}

bool near(const QColor &colour, const QColor &expected, int tolerance = 24)
{
    return std::abs(colour.red() - expected.red()) <= tolerance &&
           std::abs(colour.green() - expected.green()) <= tolerance &&
           std::abs(colour.blue() - expected.blue()) <= tolerance;
}

using SettingsHiDpiTest = SettingsWindowFixture;

} // namespace

TEST(ContinuousCornersTest, CornersAreCutAndTheRadiusShrinksOnSmallShapes)
{
    const QRectF frame(10, 20, 100, 60);
    const QPainterPath path = ContinuousCorners::path(frame, 12);
    EXPECT_EQ(path.boundingRect(), frame);
    EXPECT_TRUE(path.contains(frame.center()));
    EXPECT_FALSE(path.contains(frame.topLeft() + QPointF(2, 2)));
    EXPECT_FALSE(path.contains(frame.bottomRight() - QPointF(2, 2)));
    EXPECT_TRUE(path.contains(QPointF(frame.center().x(), frame.top() + 0.5)))
        << "straight edges reach the frame";

    // A radius too large for the shape still gives a closed outline inside it.
    const QRectF chip(0, 0, 10, 10);
    const QPainterPath tight = ContinuousCorners::path(chip, 40);
    EXPECT_EQ(tight.boundingRect(), chip);
    EXPECT_TRUE(tight.contains(chip.center()));
    EXPECT_TRUE(ContinuousCorners::path(QRectF(), 4).isEmpty());
}

TEST(AppIconViewTest, DrawsTheGradientShieldAndBarSharplyAtDoubleScale)
{
    AppIconView icon(52);
    const QImage image = icon.grab().toImage();
    ASSERT_EQ(image.devicePixelRatio(), 2.0);
    ASSERT_EQ(image.size(), QSize(104, 104));

    EXPECT_EQ(pixel(image, {0.5, 0.5}).alpha(), 0) << "the corners are rounded off";
    EXPECT_TRUE(near(pixel(image, {26, 26}), Qt::white)) << "the bar across the centre";
    // The gradient runs from light blue at the top to indigo at the bottom.
    const QColor top = pixel(image, {26, 2});
    const QColor bottom = pixel(image, {26, 50});
    EXPECT_TRUE(near(top, QColor(74, 163, 255), 30)) << top.name().toStdString();
    EXPECT_TRUE(near(bottom, QColor(88, 86, 214), 30)) << bottom.name().toStdString();
    EXPECT_FALSE(AppIconView::icon().isNull());
}

TEST(IconChipTest, WhitePictogramOnTheGradient)
{
    IconChip chip(QStringLiteral("gearshape.fill"), {QColor(142, 142, 147), QColor(110, 110, 115)});
    const QImage image = chip.grab().toImage();
    ASSERT_EQ(image.size(), QSize(52, 52));
    int white = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            white += near(image.pixelColor(x, y), Qt::white, 10);
    }
    EXPECT_GT(white, 60) << "the gear is drawn";
    EXPECT_TRUE(near(pixel(image, {13, 1.5}), QColor(142, 142, 147), 12));
    EXPECT_TRUE(near(pixel(image, {13, 24.5}), QColor(110, 110, 115), 12));
}

TEST_F(SettingsHiDpiTest, TheWholeWindowRendersAtDoubleScaleAndScrollsWithoutLosingWidth)
{
    guard.reportEnrolled(true);
    guard.reportCameraDenied(true);
    SettingsWindow *window = open(SettingsTab::general);
    ASSERT_NE(window, nullptr);
    const QImage shot = window->grab().toImage();
    EXPECT_EQ(shot.devicePixelRatio(), 2.0);
    EXPECT_EQ(shot.size(), QSize(1520, 1040));

    // Small enough that the General tab scrolls: the bar floats in the padding
    // and the cards keep their width.
    window->resize(720, 480);
    auto *scroller = window->view()->findChild<BlendScrollArea *>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_NE(scroller, nullptr);
    ASSERT_TRUE(waitUntil([&] { return scroller->verticalScrollBar()->isVisible(); }));
    EXPECT_EQ(scroller->viewport()->width(), scroller->width());
    auto *bar = static_cast<BlendScrollBar *>(scroller->verticalScrollBar());
    EXPECT_GT(bar->mapTo(window, QPoint(0, 0)).x(), window->width() - 28) << "in the pane's padding";

    // Dragging the knob scrolls to the end, where the last switch shows.
    const QRectF knob = bar->knob();
    QTest::mousePress(bar, Qt::LeftButton, {}, knob.center().toPoint());
    QTest::mouseMove(bar, QPoint(int(knob.center().x()), bar->height() - 1));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(int(knob.center().x()), bar->height() - 1));
    EXPECT_EQ(bar->value(), bar->maximum());
    auto *general = qobject_cast<GeneralTab *>(window->view()->tabView());
    ASSERT_NE(general, nullptr);
    QWidget *lastSwitch = general->launchAtLoginSwitch();
    const QRect shown = QRect(lastSwitch->mapTo(scroller->viewport(), QPoint(0, 0)), lastSwitch->size());
    EXPECT_TRUE(scroller->viewport()->rect().contains(shown));
}
