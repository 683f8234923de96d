// The pill controls as a person meets them: painted pixels, real clicks and keys.
#include "controls/PillControls.h"

#include "controls/Palettes.h"
#include "controls/PillTheme.h"
#include "controls/Symbols.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;

namespace {

QList<QImage> icons(int count)
{
    QList<QImage> images;
    for (int i = 0; i < count; ++i)
        images.append(
            Symbols::image(QStringLiteral("checkmark"), 12, QFont::DemiBold, Qt::black, 1).toImage());
    return images;
}

// The control painted alone on white, at 1×.
QImage painted(QWidget &widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32);
    image.fill(Qt::white);
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

bool isWhite(const QImage &image, int x, int y)
{
    return image.pixelColor(x, y) == QColor(Qt::white);
}

class PillControlsTest : public ::testing::Test
{
protected:
    void SetUp() override { QApplication::setPalette(Palettes::light()); }
};

TEST_F(PillControlsTest, SegmentedControlClampsAndDrawsDividersOnlyBetweenUnselectedSegments)
{
    CapsuleSegmentedControl empty({}, {}, 60, 24, std::nullopt);
    EXPECT_EQ(empty.segmentCount(), 1);
    EXPECT_TRUE(empty.iconViews().isEmpty());
    const QImage alone = painted(empty);
    EXPECT_FALSE(isWhite(alone, 30, 12)) << "one segment, filled as selected";
    EXPECT_TRUE(isWhite(alone, 0, 0)) << "a capsule: the corner stays outside";

    CapsuleSegmentedControl three(icons(3), {QStringLiteral("a"), QStringLiteral("b")}, 90, 24, 6.0);
    three.setSelectedIndex(7);
    EXPECT_EQ(three.selectedIndex(), 2);
    three.setSelectedIndex(-1);
    EXPECT_EQ(three.selectedIndex(), 0);
    EXPECT_EQ(three.iconViews()[1]->toolTip(), QStringLiteral("b"));
    EXPECT_TRUE(three.iconViews()[2]->toolTip().isEmpty());

    // Segment width 30: boundaries at x = 30 (between 0 and 1) and 60 (between 1 and 2).
    const auto dividerAt = [&](int x) { return !isWhite(painted(three), x, 12); };
    EXPECT_FALSE(dividerAt(60 + 5)) << "inside an unselected segment nothing is drawn";
    EXPECT_TRUE(dividerAt(60)) << "with 0 selected, only the boundary between 1 and 2";
    three.setSelectedIndex(1);
    EXPECT_FALSE(dividerAt(60));
    EXPECT_FALSE(dividerAt(5)) << "segment 0 is no longer filled";
}

TEST_F(PillControlsTest, SegmentedControlPicksByClickAndArrowKeysOnlyWhenSomethingChanges)
{
    CapsuleSegmentedControl control(icons(3), {}, 90, 24, std::nullopt);
    control.show();
    QList<int> picks;
    control.onSelect = [&](int index) { picks << index; };
    QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(75, 12));
    QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(80, 12)); // the same segment again
    QTest::keyClick(&control, Qt::Key_Left);
    QTest::keyClick(&control, Qt::Key_Left);
    QTest::keyClick(&control, Qt::Key_Left); // already at the first
    EXPECT_EQ(picks, (QList<int>{2, 1, 0}));

    control.setEnabled(false);
    QTest::mouseClick(&control, Qt::LeftButton, {}, QPoint(75, 12));
    EXPECT_EQ(control.selectedIndex(), 0);
    EXPECT_EQ(control.segmentAt(0.0), 0);
    CapsuleSegmentedControl flat(icons(2), {}, 0, 24, std::nullopt);
    EXPECT_EQ(flat.segmentAt(0.0), std::nullopt) << "no width, no segment to pick";
}

TEST_F(PillControlsTest, PullDownPillAnswersForItsWholeRectangleUnlessInvisible)
{
    QWidget window;
    auto *pill = new PulldownPill(QStringLiteral("10 sec"), &window);
    pill->setGeometry(10, 10, 120, 26);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicks(pill, &QAbstractButton::clicked);
    QTest::mouseClick(pill->label, Qt::LeftButton, {}, pill->label->rect().center());
    QTest::mouseClick(pill, Qt::LeftButton, {}, pill->chevron->geometry().center());
    EXPECT_EQ(clicks.count(), 2);
    EXPECT_EQ(window.childAt(pill->label->geometry().center() + pill->pos()), pill);

    pill->setFocus();
    QTest::keyClick(pill, Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 3) << "the keyboard opens it too";

    pill->setAlpha(0.005);
    QTest::mouseClick(pill, Qt::LeftButton, {}, QPoint(60, 13));
    EXPECT_EQ(clicks.count(), 3);
}

TEST_F(PillControlsTest, ButtonKeepsItsLayoutWhenTheTitleIsUnchanged)
{
    QWidget window;
    auto *button = new PillButton(QStringLiteral("Delete"), false, &window);
    window.show();
    int layoutRequests = 0;
    struct Counter : QObject
    {
        int &count;
        explicit Counter(int &c)
            : count(c)
        {}
        bool eventFilter(QObject *, QEvent *event) override
        {
            count += event->type() == QEvent::LayoutRequest;
            return false;
        }
    } counter(layoutRequests);
    window.installEventFilter(&counter);
    processEventsFor(std::chrono::milliseconds(50));
    layoutRequests = 0;

    button->setButtonTitle(QStringLiteral("Delete"));
    processEventsFor(std::chrono::milliseconds(50));
    EXPECT_EQ(layoutRequests, 0);
    const int narrow = button->sizeHint().width();
    button->setButtonTitle(QStringLiteral("Re-enroll…"));
    processEventsFor(std::chrono::milliseconds(50));
    EXPECT_GT(layoutRequests, 0);
    EXPECT_GT(button->sizeHint().width(), narrow);
}

TEST_F(PillControlsTest, SwitchingToDarkRecoloursEveryControlWithoutRemakingIt)
{
    QWidget window;
    auto *pill = new PulldownPill(QStringLiteral("English"), &window);
    auto *button = new PillButton(QStringLiteral("Delete"), false, &window);
    auto *segments = new CapsuleSegmentedControl(icons(2), {}, 60, 24, std::nullopt, &window);
    pill->setGeometry(0, 0, 100, 26);
    button->setGeometry(0, 30, 100, 26);
    segments->move(0, 60);
    window.resize(120, 90);
    const auto shot = [&] { return window.grab().toImage(); };
    const QImage light = shot();
    QApplication::setPalette(Palettes::dark());
    processEventsFor(std::chrono::milliseconds(50));
    const QImage dark = shot();
    for (const QPoint &inside : {QPoint(5, 13), QPoint(5, 43), QPoint(40, 72)})
        EXPECT_NE(light.pixelColor(inside), dark.pixelColor(inside)) << inside.x() << "," << inside.y();
    EXPECT_EQ(PillTheme::segOverlay(pill->palette()).alphaF(),
              PillTheme::segOverlay(Palettes::dark()).alphaF());
    EXPECT_EQ(pill->label->palette().color(QPalette::WindowText),
              Palettes::dark().color(QPalette::WindowText));
}

TEST(SymbolsTest, DrawsKnownSymbolsCrisplyAtBothScalesAndNothingForUnknownOnes)
{
    for (const char *name : {"gearshape.fill", "lock.shield.fill", "person.crop.circle.fill",
                             "info.circle.fill", "chevron.down", "checkmark"}) {
        const QImage one = Symbols::image(QLatin1String(name), 13, QFont::DemiBold, Qt::black, 1).toImage();
        const QImage two = Symbols::image(QLatin1String(name), 13, QFont::DemiBold, Qt::black, 2).toImage();
        ASSERT_FALSE(one.isNull()) << name;
        EXPECT_EQ(two.size(), one.size() * 2) << name;
        int solid = 0;
        for (int y = 0; y < two.height(); ++y)
            for (int x = 0; x < two.width(); ++x)
                solid += qAlpha(two.pixel(x, y)) == 255;
        EXPECT_GT(solid, two.width()) << name << ": drawn at full resolution, not scaled up";
    }
    EXPECT_TRUE(Symbols::image(QStringLiteral("no.such.symbol"), 13, QFont::Normal, Qt::black, 1).isNull());
}

} // namespace
