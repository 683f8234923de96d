#include "SettingsTestFixture.h"
#include "settings/GeneralTab.h"
#include "settings/SettingsCard.h"
#include "settings/SettingsSidebar.h"
#include "settings/SettingsView.h"
#include "settings/SidebarRow.h"
#include "settings/ToggleSwitch.h"
#include "settings/ToneLabel.h"
#include "support/RealInput.h"

#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QTest>

using namespace veilora;
using namespace veilora::test;

namespace {

QPoint screenCentre()
{
    return QGuiApplication::primaryScreen()->availableGeometry().center();
}

// A window manager for the whole binary when the display has none, so window
// sizes and positions are negotiated as on a desktop.
[[maybe_unused]] const auto *const windowManager =
    ::testing::AddGlobalTestEnvironment(new WindowManagerEnvironment);

using SettingsWindowTest = SettingsWindowFixture;

} // namespace

TEST_F(SettingsWindowTest, OpensCentredAndReopensOnTheLastTabAfterClosing)
{
    SettingsWindow *window = open();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Settings — Veilora"));
    EXPECT_EQ(window->size(), QSize(760, 520));
    EXPECT_LE((window->geometry().center() - screenCentre()).manhattanLength(), 40)
        << "centred up to the window frame";
    EXPECT_FALSE(window->windowIcon().isNull());
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("General"));
    EXPECT_NE(qobject_cast<GeneralTab *>(window->view()->tabView()), nullptr);

    // The user picks About in the sidebar, moves the window away and closes it.
    QTest::mouseClick(window->view()->sidebar()->row(SettingsTab::about), Qt::LeftButton);
    EXPECT_EQ(router.selectedTab(), SettingsTab::about);
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("About"));
    EXPECT_EQ(window->view()->paneSubtitle(), QStringLiteral("About Veilora"));
    window->move(10, 10);
    QPointer<QWidget> firstView = window->view()->tabView();
    QPointer<SettingsWindow> first = window;
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return first.isNull(); })) << "closing releases the window";
    EXPECT_TRUE(firstView.isNull()) << "with all its views";
    EXPECT_EQ(controller.window(), nullptr);

    SettingsWindow *second = open();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->view()->paneTitle(), QStringLiteral("About"));
    EXPECT_TRUE(second->view()->sidebar()->row(SettingsTab::about)->isSelected());
    EXPECT_FALSE(second->view()->sidebar()->row(SettingsTab::general)->isSelected());
    EXPECT_LE((second->geometry().center() - screenCentre()).manhattanLength(), 40) << "centred again";
}

TEST_F(SettingsWindowTest, ShowingAgainKeepsOrSwitchesTheTabOfTheOpenWindow)
{
    SettingsWindow *window = open(SettingsTab::permissions);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("Permissions"));
    EXPECT_EQ(window->view()->tabView()->findChildren<QWidget *>().size(), 0)
        << "the placeholder shows no controls of its own";

    // Another window comes to the front; showing again brings ours back unchanged.
    QWidget other;
    other.resize(300, 200);
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return other.isActiveWindow(); }));
    controller.show(std::nullopt);
    EXPECT_EQ(controller.window(), window);
    EXPECT_EQ(router.selectedTab(), SettingsTab::permissions);
    EXPECT_TRUE(waitUntil([&] { return window->isActiveWindow(); }));

    controller.show(SettingsTab::about);
    EXPECT_EQ(controller.window(), window);
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("About"));
}

TEST_F(SettingsWindowTest, KeyboardWalksTheSidebarAndTheControlsAndEscapeCloses)
{
    guard.reportEnrolled(true);
    SettingsWindow *window = open(SettingsTab::general);
    ASSERT_NE(window, nullptr);
    SettingsSidebar *sidebar = window->view()->sidebar();
    sidebar->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntil([&] { return sidebar->hasFocus(); }));

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_EQ(router.selectedTab(), SettingsTab::permissions);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_EQ(router.selectedTab(), SettingsTab::about) << "Down stops at the last tab";
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("About"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_EQ(router.selectedTab(), SettingsTab::account);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Home);
    EXPECT_EQ(router.selectedTab(), SettingsTab::general);
    EXPECT_TRUE(sidebar->hasFocus()) << "changing the tab keeps the keyboard in the sidebar";

    // Tab then visits the General tab's controls in reading order and comes back.
    auto *general = qobject_cast<GeneralTab *>(window->view()->tabView());
    ASSERT_NE(general, nullptr);
    const std::vector<QWidget *> order = {general->protectionSwitch(),
                                          general->graceDropdown(),
                                          general->deleteButton(),
                                          general->enrollButton(),
                                          general->languageDropdown(),
                                          general->launchAtLoginSwitch(),
                                          sidebar};
    for (QWidget *expected : order) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), expected)
            << "focus on "
            << (QApplication::focusWidget() ? QApplication::focusWidget()->metaObject()->className()
                                            : "nothing");
    }

    // Space flips the focused switch, as with a mouse click.
    general->protectionSwitch()->setFocus(Qt::TabFocusReason);
    QTest::keyClick(general->protectionSwitch(), Qt::Key_Space);
    EXPECT_EQ(guard.enabledWrites, std::vector<bool>{true});

    // Ctrl+PgDown and Ctrl+PgUp turn the pages from anywhere, wrapping around.
    QTest::keyClick(window, Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(router.selectedTab(), SettingsTab::permissions);
    QTest::keyClick(window, Qt::Key_PageUp, Qt::ControlModifier);
    QTest::keyClick(window, Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(router.selectedTab(), SettingsTab::about);

    QPointer<SettingsWindow> closing = window;
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return closing.isNull(); }));
}

TEST_F(SettingsWindowTest, TheWindowManagerCannotMakeItSmallerThanTheMinimum)
{
    if (!ensureWindowManager()) {
        if (inTestSession())
            FAIL() << "no window manager in the test session";
        GTEST_SKIP() << "needs an X display with a window manager";
    }
    SettingsWindow *window = open();
    ASSERT_NE(window, nullptr);
    window->resize(500, 300);
    EXPECT_EQ(window->size(), QSize(720, 480)) << "Qt clamps its own requests";

    // A resize from outside, as when the user drags the frame, goes through the WM.
    QProcess::execute(QStringLiteral("xdotool"),
                      {QStringLiteral("windowsize"), QString::number(window->winId()), QStringLiteral("500"),
                       QStringLiteral("300")});
    QProcess::execute(QStringLiteral("xdotool"),
                      {QStringLiteral("windowsize"), QString::number(window->winId()), QStringLiteral("900"),
                       QStringLiteral("600")});
    ASSERT_TRUE(waitUntil([&] { return window->size() == QSize(900, 600); }));
    QProcess::execute(QStringLiteral("xdotool"),
                      {QStringLiteral("windowsize"), QString::number(window->winId()), QStringLiteral("500"),
                       QStringLiteral("300")});
    processEventsFor(std::chrono::milliseconds(300));
    EXPECT_GE(window->width(), 720);
    EXPECT_GE(window->height(), 480);
}

TEST_F(SettingsWindowTest, APaletteSwitchRecoloursTheOpenWindowInPlace)
{
    guard.reportEnrolled(true);
    SettingsWindow *window = open(SettingsTab::general);
    ASSERT_NE(window, nullptr);
    QWidget *tabView = window->view()->tabView();
    auto *card = tabView->findChild<SettingsCard *>();
    ASSERT_NE(card, nullptr);
    auto *label = card->findChild<ToneLabel *>();
    ASSERT_NE(label, nullptr);
    const auto cardCentre = [card] {
        const QImage image = card->grab().toImage();
        return QColor(image.pixel(image.width() / 2, 2));
    };
    const QColor lightCard = cardCentre();
    const QColor lightText = label->palette().color(QPalette::WindowText);
    EXPECT_GT(lightCard.lightness(), 200);
    EXPECT_LT(lightText.lightness(), 80);

    QApplication::setPalette(Palettes::dark());
    EXPECT_EQ(window->view()->tabView(), tabView) << "nothing was rebuilt";
    EXPECT_TRUE(waitUntil([&] { return cardCentre().lightness() < 70; }));
    EXPECT_GT(label->palette().color(QPalette::WindowText).lightness(), 180);
    const QImage shot = window->grab().toImage();
    EXPECT_LT(QColor(shot.pixel(shot.width() - 10, shot.height() - 10)).lightness(), 70)
        << "the pane follows the window colour";
}

TEST(SettingsControllerTest, TheSharedControllerNeedsServicesAndUsesTheSharedRouter)
{
    SettingsWindowController &shared = SettingsWindowController::shared();
    shared.show(SettingsTab::account);
    EXPECT_EQ(shared.window(), nullptr) << "no window without a guard to show";
    EXPECT_EQ(SettingsRouter::shared().selectedTab(), SettingsTab::account);

    RecordingGuard guard;
    shared.setServices({&guard, &AppSettings::shared(), {}});
    shared.show(std::nullopt);
    QPointer<SettingsWindow> window = shared.window();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->view()->paneTitle(), QStringLiteral("Account"));
    window->close();
    EXPECT_TRUE(waitUntil([&] { return window.isNull(); }));
    shared.setServices({});
    SettingsRouter::shared().setSelectedTab(SettingsTab::general);
}
