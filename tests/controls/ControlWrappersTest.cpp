// The wrappers' rules: what an update re-applies, what the coordinator keeps,
// and what a click writes.
#include "controls/ControlWrappers.h"

#include "support/TestSupport.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;

namespace {

// State the wrappers bind to, and a refresh that builds the wrapper afresh from it.
struct DropdownState
{
    QString value;
    int writes = 0;
    VLDropdown<QString> wrapper(std::vector<std::pair<QString, QString>> options)
    {
        return {std::move(options),
                {[this] { return value; }, [this](const QString &v) { value = v, ++writes; }}};
    }
};

QMenu *openMenu(VLDropdown<QString>::View &view)
{
    QTest::mouseClick(view.pill(), Qt::LeftButton);
    QMenu *menu = view.coordinator()->menu();
    EXPECT_TRUE(menu && waitUntil([&] { return menu->isVisible(); }));
    return menu;
}

QList<bool> checks(QMenu *menu)
{
    QList<bool> checked;
    for (QAction *action : menu->actions())
        checked << action->isChecked();
    return checked;
}

TEST(ControlWrappersTest, DropdownShowsTheFirstMatchChecksEveryEqualEntryAndWritesOnlyTheBinding)
{
    QWidget window;
    DropdownState state{QStringLiteral("15")};
    const std::vector<std::pair<QString, QString>> grace{{QStringLiteral("10"), QStringLiteral("10 sec")},
                                                         {QStringLiteral("60"), QStringLiteral("1 min")},
                                                         {QStringLiteral("60"), QStringLiteral("60 sec")}};
    VLDropdown<QString>::View view(state.wrapper(grace), &window);
    view.pill()->setGeometry(20, 20, 140, 26);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(view.pill()->label->text().isEmpty()) << "no option matches 15";

    QMenu *menu = openMenu(view);
    EXPECT_EQ(checks(menu), (QList<bool>{false, false, false}));
    EXPECT_GE(menu->width(), view.pill()->width());
    EXPECT_EQ(menu->pos(), view.pill()->mapToGlobal(QPoint(0, view.pill()->height() + 4)));
    menu->actions()[1]->trigger();
    EXPECT_EQ(state.value, QStringLiteral("60"));
    EXPECT_TRUE(view.pill()->label->text().isEmpty()) << "the pill follows only at the next update";

    view.update(state.wrapper(grace));
    EXPECT_EQ(view.pill()->label->text(), QStringLiteral("1 min"));
    menu = openMenu(view);
    EXPECT_EQ(checks(menu), (QList<bool>{false, true, true}));
    menu->close();

    // A tag outside the options (a stale menu after the options shrank) writes nothing.
    view.update(state.wrapper({{QStringLiteral("10"), QStringLiteral("10 sec")}}));
    view.coordinator()->picked(2);
    EXPECT_EQ(state.writes, 1);
}

TEST(ControlWrappersTest, ButtonRunsTheLatestActionAndKeepsItsStyle)
{
    QWidget window;
    QStringList ran;
    VLPillButton::View view({QStringLiteral("Enroll Face…"), true, [&] { ran << QStringLiteral("first"); }},
                            &window);
    window.show();
    QTest::mouseClick(view.button(), Qt::LeftButton);
    view.update({QStringLiteral("Re-enroll…"), false, [&] { ran << QStringLiteral("second"); }});
    QTest::mouseClick(view.button(), Qt::LeftButton);
    EXPECT_EQ(ran, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    EXPECT_EQ(view.button()->titleText(), QStringLiteral("Re-enroll…"));
    EXPECT_TRUE(view.button()->filled()) << "filled is read only when the button is made";
}

TEST(ControlWrappersTest, SegmentedShowsAClampedSelectionWithoutWritingAndAClickWritesTheIndex)
{
    QWidget window;
    int selection = 9;
    int writes = 0;
    const auto wrapper = [&] {
        return VLSegmented{
            {QStringLiteral("gearshape.fill"), QStringLiteral("no.such.symbol"), QStringLiteral("checkmark")},
            {},
            {[&] { return selection; }, [&](const int &v) { selection = v, ++writes; }},
            90,
            24};
    };
    VLSegmented::View view(wrapper(), &window);
    window.show();
    EXPECT_EQ(view.control()->selectedIndex(), 2);
    EXPECT_EQ(selection, 9);
    EXPECT_EQ(view.control()->segmentCount(), 3) << "an unknown symbol still takes a segment";

    QTest::mouseClick(view.control(), Qt::LeftButton, {}, QPoint(45, 12));
    EXPECT_EQ(selection, 1) << "the empty segment can be picked";
    EXPECT_EQ(writes, 1);
    selection = 0;
    view.update(wrapper());
    EXPECT_EQ(view.control()->selectedIndex(), 0);
    EXPECT_EQ(writes, 1);
}

} // namespace
