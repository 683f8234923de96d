// The pill controls as a person meets them: painted pixels, clicks and keys
// through the window, and what assistive technology reads.
#include "controls/PillControls.h"

#include "ControlsTestSupport.h"
#include "controls/Symbols.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalSpy>

using namespace veilora;
using namespace veilora::test;

namespace {

QList<QIcon> icons(int count)
{
    return QList<QIcon>(count, Symbols::icon(QStringLiteral("checkmark"), 12, QFont::DemiBold));
}

bool isWhite(const QImage &image, int x, int y)
{
    return image.pixelColor(x, y) == QColor(Qt::white);
}

using SegmentedControlTest = ControlsTest;

TEST_F(SegmentedControlTest, WithoutImagesIsOneSegmentFilledInsideItsCapsule)
{
    CapsuleSegmentedControl control({}, {}, 60, 24, std::nullopt);
    EXPECT_EQ(control.segmentCount(), 1);
    EXPECT_TRUE(control.iconViews().isEmpty());
    control.setSelectedIndex(3);
    EXPECT_EQ(control.selectedIndex(), 0);

    const QImage image = painted(control);
    EXPECT_TRUE(isWhite(image, 0, 0)) << "the corner lies outside the capsule";
    // Across the middle the fill is even: no divider anywhere.
    const QColor fill = image.pixelColor(30, 12);
    EXPECT_NE(fill, QColor(Qt::white));
    for (int x = 12; x < 48; ++x)
        EXPECT_EQ(image.pixelColor(x, 12), fill) << "x = " << x;
}

TEST_F(SegmentedControlTest, ClampsTheSelectionAndDrawsDividersOnlyBetweenTwoUnselectedSegments)
{
    // 87 / 3 = 29 wide segments, 23 high: the boundaries fall on x = 28.5 and
    // 57.5 and the dividers start at y = 4.5, so each rounds half away from zero.
    CapsuleSegmentedControl control(icons(3), {}, 87, 23, std::nullopt);
    const auto dividerAt = [&](int x) {
        const QImage image = painted(control);
        const int top = 5, bottom = 5 + 14 - 1;
        return !isWhite(image, x, top) && !isWhite(image, x, bottom) && isWhite(image, x, top - 1) &&
               isWhite(image, x, bottom + 1) && isWhite(image, x + 1, 4);
    };

    EXPECT_FALSE(dividerAt(29)) << "0 selected: nothing beside the selection";
    EXPECT_TRUE(dividerAt(58)) << "0 selected: between 1 and 2";

    control.setSelectedIndex(7);
    EXPECT_EQ(control.selectedIndex(), 2);
    EXPECT_TRUE(dividerAt(29));
    EXPECT_FALSE(dividerAt(58));
    EXPECT_FALSE(isWhite(painted(control), 72, 3)) << "segment 2 is filled";

    control.setSelectedIndex(1);
    EXPECT_FALSE(dividerAt(29));
    EXPECT_FALSE(dividerAt(58));

    control.setSelectedIndex(-1);
    EXPECT_EQ(control.selectedIndex(), 0);
}

TEST_F(SegmentedControlTest, DrawsACapsuleWithoutACornerRadiusOrWithOneBeyondHalfTheHeight)
{
    CapsuleSegmentedControl absent(icons(2), {}, 80, 24, std::nullopt);
    CapsuleSegmentedControl tooLarge(icons(2), {}, 80, 24, 40.0);
    CapsuleSegmentedControl half(icons(2), {}, 80, 24, 12.0);
    CapsuleSegmentedControl small(icons(2), {}, 80, 24, 6.0);
    EXPECT_EQ(painted(absent), painted(half));
    EXPECT_EQ(painted(tooLarge), painted(half));
    EXPECT_NE(painted(small), painted(half));
}

TEST_F(SegmentedControlTest, AClickPicksTheSegmentUnderItUnlessNothingWouldChange)
{
    auto *control = new CapsuleSegmentedControl(icons(3), {}, 90, 24, std::nullopt, &window);
    control->move(20, 20);
    QList<int> picks;
    control->onSelect = [&](int index) { picks << index; };
    showWindow();

    click(control, {75, 12});
    click(control, {85, 20});                                     // the selected segment again
    click(control, control->iconViews()[0]->geometry().center()); // right on an icon
    EXPECT_EQ(picks, (QList<int>{2, 0}));
    EXPECT_EQ(control->selectedIndex(), 0);

    control->setEnabled(false);
    click(control, {45, 12});
    EXPECT_EQ(control->selectedIndex(), 0);

    control->setEnabled(true);
    control->setFixedWidth(0);
    QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(0, 12));
    EXPECT_EQ(control->selectedIndex(), 0) << "no width, no segment to pick";
    EXPECT_EQ(picks.size(), 2);
}

using PulldownPillTest = ControlsTest;

TEST_F(PulldownPillTest, TakesClicksOnItsLabelAndChevronButNoneWhenAlmostTransparent)
{
    auto *pill = new PulldownPill(QStringLiteral("10 sec"), &window);
    pill->setGeometry(20, 20, 120, 26);
    QSignalSpy clicks(pill, &QAbstractButton::clicked);
    showWindow();

    click(pill->label);
    click(pill->chevron);
    EXPECT_EQ(clicks.count(), 2);

    pill->setAlpha(0.005);
    click(pill->label);
    EXPECT_EQ(clicks.count(), 2);
    pill->setAlpha(0.5);
    click(pill->label);
    EXPECT_EQ(clicks.count(), 3);
}

using PillButtonTest = ControlsTest;

TEST_F(PillButtonTest, SettingTheSameTitleLeavesTheLayoutAlone)
{
    auto *row = new QHBoxLayout(&window);
    auto *button = new PillButton(QStringLiteral("Delete"), false);
    row->addWidget(button);
    row->addStretch();
    showWindow();
    int layoutRequests = 0;
    struct Counter : QObject
    {
        int &count;
        explicit Counter(int &counted)
            : count(counted)
        {}
        bool eventFilter(QObject *, QEvent *event) override
        {
            count += event->type() == QEvent::LayoutRequest;
            return false;
        }
    } counter(layoutRequests);
    window.installEventFilter(&counter);
    const QRect before = button->geometry();

    button->setButtonTitle(QStringLiteral("Delete"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_EQ(layoutRequests, 0);
    EXPECT_EQ(button->geometry(), before);

    button->setButtonTitle(QStringLiteral("Delete Face…"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_GT(layoutRequests, 0);
    EXPECT_GT(button->width(), before.width()) << "a longer title widens the button";
    EXPECT_EQ(button->text(), QStringLiteral("Delete Face…"));
}

// All three controls in a row, for what they share.
class PillControlsTest : public ControlsTest
{
protected:
    void makeControls(QWidget *parent)
    {
        pill = new PulldownPill(QStringLiteral("English"), parent);
        button = new PillButton(QStringLiteral("Delete"), false, parent);
        segmented = new CapsuleSegmentedControl(icons(3), {QStringLiteral("Camera"), QStringLiteral("Face")},
                                                90, 24, std::nullopt, parent);
        pill->setGeometry(10, 10, 100, 26);
        button->setGeometry(120, 10, 80, 26);
        segmented->move(210, 10);
    }

    PulldownPill *pill = nullptr;
    PillButton *button = nullptr;
    CapsuleSegmentedControl *segmented = nullptr;
};

TEST_F(PillControlsTest, SwitchingToDarkRecoloursTheControlsAsIfTheyWereMadeDark)
{
    window.resize(310, 46);
    makeControls(&window);
    showWindow();
    QApplication::focusWidget()->clearFocus(); // as in the fresh controls: no focus ring
    const QImage light = window.grab().toImage();

    QApplication::setPalette(Palettes::dark());
    QCoreApplication::processEvents();
    const QImage switched = window.grab().toImage();

    QWidget fresh;
    fresh.setAutoFillBackground(true);
    fresh.resize(window.size());
    makeControls(&fresh);
    EXPECT_EQ(switched, fresh.grab().toImage());
    for (const QPoint &inside : {QPoint(14, 23), QPoint(124, 23), QPoint(230, 23)}) // pill, button, segment
        EXPECT_NE(light.pixelColor(inside), switched.pixelColor(inside)) << inside.x();
}

TEST_F(PillControlsTest, TabReachesEachControlWithARingAndKeysWorkThem)
{
    auto *field = new QLineEdit(&window); // where the focus starts
    field->setGeometry(10, 50, 100, 26);
    makeControls(&window);
    QSignalSpy pillClicks(pill, &QAbstractButton::clicked);
    QSignalSpy buttonClicks(button, &QAbstractButton::clicked);
    QList<int> picks;
    segmented->onSelect = [&](int index) { picks << index; };
    showWindow();
    ASSERT_EQ(QApplication::focusWidget(), field);
    const QImage unfocused = pill->grab().toImage();

    key(Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), pill);
    EXPECT_NE(pill->grab().toImage().pixelColor(1, 13), unfocused.pixelColor(1, 13)) << "a focus ring";
    key(Qt::Key_Space);
    key(Qt::Key_Return);
    EXPECT_EQ(pillClicks.count(), 2);

    key(Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), button);
    key(Qt::Key_Enter);
    key(Qt::Key_Space);
    EXPECT_EQ(buttonClicks.count(), 2);

    key(Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), segmented);
    for (const Qt::Key arrow : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Left})
        key(arrow);
    EXPECT_EQ(picks, (QList<int>{1, 2, 1}));
}

TEST_F(PillControlsTest, AssistiveTechnologyReadsTheChoiceTheTitleAndTheSegments)
{
    makeControls(&window);
    QList<int> picks;
    segmented->onSelect = [&](int index) { picks << index; };
    showWindow();

    QAccessibleInterface *pillInfo = QAccessible::queryAccessibleInterface(pill);
    EXPECT_EQ(pillInfo->text(QAccessible::Name), QStringLiteral("English"));
    pill->label->setText(QStringLiteral("Deutsch"));
    EXPECT_EQ(pillInfo->text(QAccessible::Name), QStringLiteral("Deutsch"));
    EXPECT_TRUE(pillInfo->state().hasPopup);

    QAccessibleInterface *buttonInfo = QAccessible::queryAccessibleInterface(button);
    button->setButtonTitle(QStringLiteral("Re-enroll…"));
    EXPECT_EQ(buttonInfo->text(QAccessible::Name), QStringLiteral("Re-enroll…"));
    EXPECT_EQ(buttonInfo->role(), QAccessible::Button);

    QAccessibleInterface *segments = QAccessible::queryAccessibleInterface(segmented);
    ASSERT_EQ(segments->childCount(), 3);
    EXPECT_EQ(segments->child(1)->text(QAccessible::Name), QStringLiteral("Face"));
    EXPECT_TRUE(segments->child(0)->state().selected);
    EXPECT_EQ(segments->indexOfChild(segments->child(2)), 2);
    segments->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(picks, QList<int>{2});
    EXPECT_TRUE(segments->child(2)->state().selected);
}

TEST(SymbolsTest, DrawsEachKnownSymbolAtFullResolutionInItsTintAndNothingForUnknownOnes)
{
    const QColor tint(10, 132, 255);
    for (const char *name :
         {"gearshape.fill", "lock.shield.fill", "person.crop.circle.fill", "info.circle.fill", "chevron.down",
          "chevron.right", "checkmark", "camera.fill", "exclamationmark.triangle.fill", "eye.slash.fill",
          "touchid", "person.fill.checkmark"}) {
        const QString symbol = QLatin1String(name);
        ASSERT_TRUE(Symbols::exists(symbol)) << name;
        const QImage one = Symbols::image(symbol, 13, QFont::DemiBold, tint, 1).toImage();
        const QImage two = Symbols::icon(symbol, 13, QFont::DemiBold).pixmap(one.size(), 2).toImage();
        EXPECT_EQ(two.size(), one.size() * 2) << name;
        int solid = 0;
        for (int y = 0; y < one.height(); ++y) {
            for (int x = 0; x < one.width(); ++x) {
                const QColor pixel = one.pixelColor(x, y);
                solid += pixel.alpha() == 255;
                if (pixel.alpha() == 255) {
                    EXPECT_EQ(pixel.rgb(), tint.rgb()) << name;
                }
            }
        }
        EXPECT_GT(solid, 0) << name;
    }
    const QString unknown = QStringLiteral("no.such.symbol");
    EXPECT_FALSE(Symbols::exists(unknown));
    EXPECT_TRUE(Symbols::image(unknown, 13, QFont::Normal, Qt::black, 1).isNull());
    EXPECT_TRUE(Symbols::icon(unknown, 13, QFont::Normal).isNull());
}

} // namespace
