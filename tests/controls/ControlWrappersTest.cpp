// The wrappers' rules as their owner lives them: a refresh builds a new wrapper
// value from the state and hands it to update(); the user clicks, picks from the
// real menu and types; only the binding is written.
#include "controls/ControlWrappers.h"

#include "ControlsTestSupport.h"

using namespace veilora;
using namespace veilora::test;

namespace {

using Options = std::vector<std::pair<QString, QString>>;

// The state a dropdown binds to, with the wrapper a refresh would build from it.
struct Choice
{
    QString value;
    int writes = 0;

    VLDropdown<QString> wrapper(Options options)
    {
        return {std::move(options),
                {[this] { return value; }, [this](const QString &v) { value = v, ++writes; }}};
    }
};

QList<bool> checks(const QMenu *menu)
{
    QList<bool> checked;
    for (const QAction *action : menu->actions())
        checked << action->isChecked();
    return checked;
}

void pick(QMenu *menu, int index)
{
    QAction *action = menu->actions().value(index);
    ASSERT_NE(action, nullptr);
    QTest::mouseClick(menu->windowHandle(), Qt::LeftButton, {}, menu->actionGeometry(action).center());
}

const Options grace{{QStringLiteral("10"), QStringLiteral("10 sec")},
                    {QStringLiteral("60"), QStringLiteral("1 min")},
                    {QStringLiteral("60"), QStringLiteral("60 sec")}};

using DropdownTest = ControlsTest;

TEST_F(DropdownTest, WithoutAMatchShowsNothingAndChecksNothingUnderThePill)
{
    Choice choice{QStringLiteral("15")};
    VLDropdown<QString>::View view(choice.wrapper(grace), &window);
    view.pill()->setGeometry(20, 20, 140, 26);
    showWindow();
    EXPECT_TRUE(view.pill()->label->text().isEmpty());

    click(view.pill());
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checks(menu), (QList<bool>{false, false, false}));
    EXPECT_GE(menu->width(), view.pill()->width());
    EXPECT_EQ(menu->pos(), view.pill()->mapToGlobal(QPoint(0, view.pill()->height() + 4)));
}

TEST_F(DropdownTest, PickingWritesOnlyTheBindingAndEqualValuesShowTheFirstTitleAndCheckBoth)
{
    Choice choice{QStringLiteral("10")};
    VLDropdown<QString>::View view(choice.wrapper(grace), &window);
    view.pill()->setGeometry(20, 20, 140, 26);
    showWindow();

    click(view.pill());
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    pick(menu, 2);
    EXPECT_EQ(choice.value, QStringLiteral("60"));
    EXPECT_EQ(choice.writes, 1);
    EXPECT_EQ(view.pill()->label->text(), QStringLiteral("10 sec")) << "the pill waits for the refresh";

    view.update(choice.wrapper(grace));
    EXPECT_EQ(view.pill()->label->text(), QStringLiteral("1 min"));
    click(view.pill());
    menu = openMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checks(menu), (QList<bool>{false, true, true}));
    EXPECT_EQ(choice.writes, 1);
}

TEST_F(DropdownTest, EachPressBuildsTheMenuFromTheLatestOptions)
{
    Choice choice{QStringLiteral("10")};
    VLDropdown<QString>::View view(choice.wrapper(grace), &window);
    view.pill()->setGeometry(20, 20, 140, 26);
    showWindow();

    view.update(choice.wrapper({{QStringLiteral("10"), QStringLiteral("10 Sek.")}}));
    click(view.pill());
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("10 Sek."));
    EXPECT_TRUE(menu->actions()[0]->isChecked());

    // An entry of a menu made when there were more options writes nothing.
    QAction stale;
    stale.setData(2);
    view.coordinator()->picked(stale);
    EXPECT_EQ(choice.writes, 0);
}

TEST_F(DropdownTest, TheKeyboardOpensTheMenuAndPicksFromIt)
{
    Choice choice{QStringLiteral("10")};
    VLDropdown<QString>::View view(choice.wrapper(grace), &window);
    view.pill()->setGeometry(20, 20, 140, 26);
    showWindow();

    key(Qt::Key_Tab);
    key(Qt::Key_Space);
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    EXPECT_EQ(choice.value, QStringLiteral("60"));
}

using PillButtonWrapperTest = ControlsTest;

TEST_F(PillButtonWrapperTest, RunsTheLatestActionAndKeepsTheStyleItWasMadeWith)
{
    QStringList ran;
    VLPillButton::View view({QStringLiteral("Enroll Face…"), true, [&] { ran << QStringLiteral("first"); }},
                            &window);
    view.button()->move(20, 20);
    showWindow();

    click(view.button());
    view.update({QStringLiteral("Re-enroll…"), false, [&] { ran << QStringLiteral("second"); }});
    click(view.button());
    EXPECT_EQ(ran, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    EXPECT_EQ(view.button()->titleText(), QStringLiteral("Re-enroll…"));
    EXPECT_TRUE(view.button()->filled());
}

using SegmentedWrapperTest = ControlsTest;

TEST_F(SegmentedWrapperTest, ShowsTheClampedSelectionWithoutWritingItAndAClickWritesTheIndex)
{
    int selection = 9;
    int writes = 0;
    const auto wrapper = [&] {
        return VLSegmented{{QStringLiteral("camera.fill"), QStringLiteral("no.such.symbol"),
                            QStringLiteral("gearshape.fill")},
                           {QStringLiteral("Camera")},
                           {[&] { return selection; }, [&](const int &v) { selection = v, ++writes; }},
                           90,
                           24};
    };
    VLSegmented::View view(wrapper(), &window);
    CapsuleSegmentedControl *control = view.control();
    control->move(20, 20);
    showWindow();
    EXPECT_EQ(control->selectedIndex(), 2);
    EXPECT_EQ(selection, 9);
    EXPECT_EQ(control->segmentCount(), 3);
    EXPECT_TRUE(control->iconViews()[1]->naturalSize().isEmpty())
        << "the unknown symbol leaves its segment empty";

    click(control, {45, 12});
    EXPECT_EQ(selection, 1) << "the empty segment can be picked";
    click(control, {15, 12});
    EXPECT_EQ(selection, 0);

    selection = -3;
    view.update(wrapper());
    EXPECT_EQ(control->selectedIndex(), 0);
    EXPECT_EQ(writes, 2);

    // The control holds its coordinator weakly: without it, a click writes nothing.
    delete view.coordinator();
    click(control, {75, 12});
    EXPECT_EQ(control->selectedIndex(), 2);
    EXPECT_EQ(writes, 2);
}

} // namespace
