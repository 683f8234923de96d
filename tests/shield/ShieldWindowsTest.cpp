#include "localization/L10n.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/NotificationCenter.h"
#include "shield/PrivacyOverlayController.h"
#include "shield/SecretField.h"
#include "shield/ShieldStack.h"
#include "shield/UnlockPrompt.h"
#include "shield/UnlockPromptView.h"
#include "support/FakePasswordAuthentication.h"
#include "support/LoopbackNotificationCenter.h"
#include "support/TestSupport.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QWidget>
#include <QWindow>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <signal.h>
#include <sys/prctl.h>

using namespace veilora;
using namespace std::chrono_literals;

// These tests rearrange the monitors and run a window manager, which must not
// leak into other tests sharing the session's X server. So the test below runs
// this binary again under an X server of its own (xvfb-run with RandR), where
// VEILORA_SHIELD_X is set and the ShieldOnX11 tests run for real.
TEST(ShieldWindowsTest, RunOnAPrivateXServerWithAWindowManager)
{
    if (qEnvironmentVariableIsSet("VEILORA_SHIELD_X"))
        GTEST_SKIP() << "this is the private run";
    for (const char *tool : {"xvfb-run", "openbox", "xdotool", "xrandr", "xprop"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty()) {
            if (test::inTestSession())
                FAIL() << tool << " is missing";
            GTEST_SKIP() << "needs " << tool;
        }
    }
    QProcess run;
    run.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VEILORA_SHIELD_X"), QStringLiteral("1"));
    // The inner server's own authority file, not the session's.
    environment.remove(QStringLiteral("XAUTHORITY"));
    environment.remove(QStringLiteral("DISPLAY"));
    run.setProcessEnvironment(environment);
    run.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    QStringList arguments = {QStringLiteral("-a"), QStringLiteral("-s"),
                             QStringLiteral("-screen 0 1920x1080x24 +extension RANDR"),
                             QCoreApplication::applicationFilePath(),
                             QStringLiteral("--gtest_filter=ShieldOnX11.*:-ShieldOnX11.Screenshots")};
    run.start(QStringLiteral("xvfb-run"), arguments);
    ASSERT_TRUE(run.waitForFinished(200000));
    const QByteArray output = run.readAll();
    EXPECT_EQ(run.exitCode(), 0) << output.toStdString();
    EXPECT_TRUE(output.contains("[  PASSED  ]")) << output.toStdString();
    EXPECT_FALSE(output.contains("[  SKIPPED ]")) << output.toStdString();
}

namespace {

QString runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// A full-screen window of an ordinary application under the window manager: a
// page of "text" to blur, and a count of the clicks that reach it.
class DesktopWindow : public QWidget
{
public:
    explicit DesktopWindow(bool dark)
        : m_dark(dark)
    {
        setWindowTitle(QStringLiteral("desktop"));
    }
    int presses = 0;
    bool painted = false;

protected:
    void mousePressEvent(QMouseEvent *) override { ++presses; }
    void paintEvent(QPaintEvent *) override
    {
        painted = true;
        QPainter painter(this);
        painter.fillRect(rect(), m_dark ? QColor(30, 32, 38) : QColor(246, 246, 243));
        painter.fillRect(QRect(0, 0, width(), 44), m_dark ? QColor(52, 56, 66) : QColor(220, 224, 232));
        painter.fillRect(QRect(0, 44, 260, height()), m_dark ? QColor(40, 43, 51) : QColor(234, 236, 240));
        QFont font = painter.font();
        font.setPixelSize(15);
        painter.setFont(font);
        const QStringList words = {QStringLiteral("quarterly"), QStringLiteral("figures"),
                                   QStringLiteral("draft"),     QStringLiteral("confidential"),
                                   QStringLiteral("meeting"),   QStringLiteral("notes")};
        for (int line = 0; 80 + line * 26 < height() - 40; ++line) {
            QString text;
            for (int word = 0; word < 14; ++word)
                text += words.at((line * 7 + word * 3) % words.size()) + QLatin1Char(' ');
            painter.setPen(line % 9 == 0 ? QColor(10, 132, 255)
                                         : (m_dark ? QColor(220, 222, 228) : QColor(40, 40, 44)));
            painter.drawText(300, 90 + line * 26, text);
        }
        for (int i = 0; i < 12; ++i) {
            painter.setPen(m_dark ? QColor(170, 175, 185) : QColor(70, 72, 80));
            painter.drawText(24, 90 + i * 30, QStringLiteral("Folder %1").arg(i + 1));
        }
    }

private:
    bool m_dark;
};

class ShieldOnX11 : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        if (!qEnvironmentVariableIsSet("VEILORA_SHIELD_X"))
            return;
        s_windowManager = new QProcess;
        s_windowManager->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        s_windowManager->start(QStringLiteral("openbox"), {});
        // Openbox announces itself before it manages windows; the client stacking
        // list comes at the end of its start-up.
        test::waitUntil([] {
            return runTool(QStringLiteral("xprop"),
                           {QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST_STACKING")})
                .contains(QLatin1Char('='));
        });
    }

    static void TearDownTestSuite()
    {
        if (s_windowManager) {
            s_windowManager->terminate();
            s_windowManager->waitForFinished(5000);
            delete s_windowManager;
            s_windowManager = nullptr;
        }
    }

    void SetUp() override
    {
        if (!qEnvironmentVariableIsSet("VEILORA_SHIELD_X"))
            GTEST_SKIP() << "runs on the private X server only";
        ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("xcb"));
        local.observe(QString::fromLatin1(PrivacyOverlayController::changeNote), &context,
                      [this] { ++localPosts; });
    }

    void TearDown() override { setMonitors(1); }

    // One screen (Xvfb's whole 1920 × 1080), or two side by side, as RandR monitors.
    static bool setMonitors(int count)
    {
        const QString xrandr = QStringLiteral("xrandr");
        runTool(xrandr, {QStringLiteral("--delmonitor"), QStringLiteral("HDMI-1")});
        runTool(xrandr, {QStringLiteral("--delmonitor"), QStringLiteral("eDP-1")});
        if (count == 2) {
            runTool(xrandr, {QStringLiteral("--setmonitor"), QStringLiteral("eDP-1"),
                             QStringLiteral("960/254x1080/286+0+0"), QStringLiteral("screen")});
            runTool(xrandr, {QStringLiteral("--setmonitor"), QStringLiteral("HDMI-1"),
                             QStringLiteral("960/254x1080/286+960+0"), QStringLiteral("none")});
        }
        return test::waitUntil([count] { return QGuiApplication::screens().size() == count; });
    }

    static std::unique_ptr<DesktopWindow> showDesktop(bool dark = false)
    {
        auto desktop = std::make_unique<DesktopWindow>(dark);
        desktop->showFullScreen();
        test::waitUntil(
            [&] { return desktop->painted && focusedWindow() == QString::number(desktop->winId()); });
        test::processEventsFor(200ms); // the paint reaches the screen
        return desktop;
    }

    static bool allExposed(const PrivacyOverlayController &controller)
    {
        const QList<QWidget *> windows = controller.windows();
        return !windows.isEmpty() && std::all_of(windows.begin(), windows.end(), [](QWidget *window) {
            return window->windowHandle() && window->windowHandle()->isExposed();
        });
    }

    // The shield's windows the X server shows, found by their title.
    static int mappedShieldWindows()
    {
        const QString found =
            runTool(QStringLiteral("xdotool"),
                    {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                     QStringLiteral("^com\\.norvane\\.privacy-shield$")});
        return found.isEmpty() ? 0 : int(found.split(QLatin1Char('\n')).size());
    }

    static void click(const QPoint &at)
    {
        runTool(QStringLiteral("xdotool"),
                {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                 QStringLiteral("click"), QStringLiteral("1")});
    }

    static QString focusedWindow()
    {
        return runTool(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")});
    }

    static QImage grabDesktop()
    {
        return QGuiApplication::primaryScreen()->grabWindow(0, 0, 0, 1920, 1080).toImage();
    }

    inline static QProcess *s_windowManager = nullptr;
    LocalNotificationCenter local;
    LoopbackNotificationCenter distributed;
    QObject context;
    int localPosts = 0;
};

// Mean brightness and the mean step between horizontal neighbours (text makes it high).
std::pair<double, double> brightnessAndDetail(const QImage &image, const QRect &area)
{
    double sum = 0;
    double detail = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x < area.right(); ++x) {
            const int level = qGray(image.pixel(x, y));
            sum += level;
            detail += std::abs(level - qGray(image.pixel(x + 1, y)));
        }
    }
    const double count = double(area.width() - 1) * area.height();
    return {sum / count, detail / count};
}

} // namespace

TEST_F(ShieldOnX11, CoversEveryScreenThenThePillAndFollowsScreenChanges)
{
    ASSERT_TRUE(setMonitors(2));
    auto desktop = showDesktop();
    const QImage before = grabDesktop();
    PrivacyOverlayController controller(local, distributed);

    controller.show();
    controller.show();
    QList<QWidget *> windows = controller.windows();
    ASSERT_EQ(windows.size(), 3);
    const QList<QScreen *> screens = QGuiApplication::screens();
    EXPECT_EQ(windows[0]->geometry(), screens[0]->geometry());
    EXPECT_EQ(windows[1]->geometry(), screens[1]->geometry());
    const QRect pill = PrivacyOverlayController::pillGeometry(QGuiApplication::primaryScreen()->geometry());
    EXPECT_EQ(windows[2]->geometry(), pill);
    EXPECT_EQ(windows[2]->windowTitle(), QStringLiteral("com.norvane.privacy-shield"));
    ASSERT_TRUE(test::waitUntil([&] { return allExposed(controller) && mappedShieldWindows() == 3; }));
    EXPECT_EQ(localPosts, 1) << "a second show() changes nothing";
    EXPECT_EQ(distributed.posted.size(), 1);

    // Blurred and darkened, with the title in the middle of each screen and the pill.
    test::processEventsFor(300ms);
    const QImage shot = grabDesktop();
    const QRect page(300, 100, 600, 300);
    const auto [brightBefore, detailBefore] = brightnessAndDetail(before, page);
    const auto [brightAfter, detailAfter] = brightnessAndDetail(shot, page);
    EXPECT_LT(brightAfter, brightBefore * 0.8) << "the veil darkens";
    EXPECT_LT(detailAfter, detailBefore * 0.2) << "the frost wipes out the text";
    for (QScreen *screen : screens) {
        const QRect title(screen->geometry().center().x() - 150, screen->geometry().center().y() - 30, 300,
                          60);
        EXPECT_GT(brightnessAndDetail(shot, title).second, detailAfter * 3) << "the title on each screen";
    }
    EXPECT_GT(brightnessAndDetail(shot, pill.adjusted(40, 10, -40, -10)).first,
              brightnessAndDetail(shot, pill.translated(0, -80)).first + 10)
        << "the capsule is lighter than the veil around it";

    // A screen removed, then added, while up: a fresh set each time (hide + show).
    runTool(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), QStringLiteral("HDMI-1")});
    ASSERT_TRUE(test::waitUntil([&] { return controller.windows().size() == 2 && localPosts == 3; }));
    EXPECT_EQ(controller.windows()[0]->geometry(), QGuiApplication::screens()[0]->geometry());
    runTool(QStringLiteral("xrandr"), {QStringLiteral("--setmonitor"), QStringLiteral("HDMI-1"),
                                       QStringLiteral("960/254x1080/286+960+0"), QStringLiteral("none")});
    ASSERT_TRUE(test::waitUntil([&] { return controller.windows().size() == 3 && localPosts == 5; }));
    EXPECT_TRUE(test::waitUntil([&] { return mappedShieldWindows() == 3; }));

    const QList<QWidget *> made = controller.windows();
    controller.hide();
    controller.hide();
    EXPECT_TRUE(controller.windows().isEmpty());
    EXPECT_TRUE(test::waitUntil([] { return mappedShieldWindows() == 0; }));
    EXPECT_EQ(localPosts, 6);
    EXPECT_EQ(distributed.posted.size(), 6);

    // Up again over another desktop: the same windows, frosted from what is on
    // the screens now.
    desktop = showDesktop(true);
    controller.show();
    EXPECT_EQ(controller.windows(), made);
    ASSERT_TRUE(test::waitUntil([&] { return allExposed(controller) && mappedShieldWindows() == 3; }));
    test::processEventsFor(300ms);
    EXPECT_LT(brightnessAndDetail(grabDesktop(), page).first, brightAfter * 0.6)
        << "the dark desktop's frost";
    const QList<QPointer<QWidget>> kept(made.begin(), made.end());
    controller.hide();

    // Down, a change drops the windows and posts nothing; the next show makes new ones.
    ASSERT_TRUE(setMonitors(1));
    test::processEventsFor(300ms);
    EXPECT_EQ(localPosts, 8);
    EXPECT_TRUE(controller.windows().isEmpty());
    EXPECT_TRUE(std::all_of(kept.begin(), kept.end(), [](const QPointer<QWidget> &w) { return w.isNull(); }));
    controller.show();
    EXPECT_EQ(controller.windows().size(), 2);
    controller.hide();
}

TEST_F(ShieldOnX11, ClicksGoThroughTheOverlayToTheWindowBeneathButThePillTakesItsOwn)
{
    auto desktop = showDesktop();
    const QString focus = focusedWindow();
    PrivacyOverlayController controller(local, distributed);
    int unlockRequests = 0;
    controller.onUnlockRequested = [&] { ++unlockRequests; };
    controller.show();
    ASSERT_TRUE(test::waitUntil([&] { return allExposed(controller); }));
    EXPECT_EQ(focusedWindow(), focus) << "showing the shield takes no focus";

    click(QPoint(500, 300));
    EXPECT_TRUE(test::waitUntil([&] { return desktop->presses == 1; }))
        << "the overlay lets the click through";

    const QPoint pill = controller.windows().last()->geometry().center();
    click(pill);
    EXPECT_TRUE(test::waitUntil([&] { return unlockRequests == 1; }));
    EXPECT_EQ(desktop->presses, 1);
    EXPECT_EQ(focusedWindow(), focus) << "pressing the pill takes no focus either";

    // The full-screen window activated and raised by the window manager stays
    // beneath (openbox stacks only the windows it manages); a popup of another
    // client that maps over the pill does cover it, until the shield goes back
    // on top. Either way the pill still gets its click.
    runTool(QStringLiteral("xdotool"),
            {QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(desktop->winId())});
    const int raises = controller.stack().raiseCount();
    QWidget popup(nullptr, Qt::Window | Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint);
    popup.setGeometry(controller.windows().last()->geometry().adjusted(-20, -20, 20, 20));
    popup.show();
    EXPECT_TRUE(test::waitUntil([&] { return controller.stack().raiseCount() > raises; }));
    click(pill);
    EXPECT_TRUE(test::waitUntil([&] { return unlockRequests == 2; }));
    EXPECT_EQ(desktop->presses, 1);
}

TEST_F(ShieldOnX11, PromptTakesTheKeyboardMarksAWrongPasswordAndCancelsOnEscape)
{
    auto desktop = showDesktop();
    const QString focus = focusedWindow();
    PrivacyOverlayController controller(local, distributed);
    PromptedAuthenticator authenticator(
        controller.credentialPrompt(),
        std::make_shared<FakePasswordAuthentication>(QByteArrayLiteral("hunter2")));
    std::atomic<int> result{-1};
    controller.onUnlockRequested = [&] {
        authenticator.evaluate(QStringLiteral("unlock the screen blur"),
                               [&](bool success, std::optional<QString>) { result = success; });
    };
    controller.show();
    ASSERT_TRUE(test::waitUntil([&] { return allExposed(controller); }));
    UnlockPrompt &prompt = controller.unlockPrompt();
    const auto readyForInput = [&] {
        return prompt.isOpen() && !prompt.view()->field()->isBusy() && prompt.view()->field()->hasFocus();
    };

    click(controller.windows().last()->geometry().center());
    ASSERT_TRUE(test::waitUntil(readyForInput));
    const QRect pill = controller.windows().last()->geometry();
    EXPECT_LT(prompt.window()->geometry().bottom(), pill.top()) << "above the pill";

    runTool(QStringLiteral("xdotool"), {QStringLiteral("type"), QStringLiteral("wrong")});
    EXPECT_TRUE(test::waitUntil([&] { return prompt.view()->field()->characterCount() == 5; }))
        << "typed into the prompt, not into the window that had the focus";
    runTool(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
    ASSERT_TRUE(
        test::waitUntil([&] { return prompt.view()->field()->isMarkedRejected() && readyForInput(); }));
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(controller.isUp()) << "a wrong password leaves the blur";

    runTool(QStringLiteral("xdotool"), {QStringLiteral("type"), QStringLiteral("hunter2")});
    runTool(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
    ASSERT_TRUE(test::waitUntil([&] { return result == 1; }));
    EXPECT_TRUE(test::waitUntil([&] { return !prompt.isOpen() && focusedWindow() == focus; }))
        << "the focus goes back where it was";

    result = -1;
    click(pill.center());
    ASSERT_TRUE(test::waitUntil(readyForInput));
    runTool(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Escape")});
    EXPECT_TRUE(test::waitUntil([&] { return result == 0 && !prompt.isOpen(); }));
    EXPECT_TRUE(controller.isUp());
}

// Not a check: writes the screenshots in docs/ when VEILORA_SHIELD_SCREENSHOTS
// names a folder.
TEST_F(ShieldOnX11, Screenshots)
{
    const QString folder = qEnvironmentVariable("VEILORA_SHIELD_SCREENSHOTS");
    if (folder.isEmpty())
        GTEST_SKIP() << "set VEILORA_SHIELD_SCREENSHOTS to write them";
    for (bool dark : {false, true}) {
        auto desktop = showDesktop(dark);
        // One controller for every language: the later pictures show the kept windows again.
        PrivacyOverlayController controller(local, distributed);
        for (const QString &language : {QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("ja")}) {
            L10n::shared().apply(language);
            controller.show();
            ASSERT_TRUE(test::waitUntil([&] { return allExposed(controller); }));
            test::processEventsFor(300ms);
            const QImage shot =
                grabDesktop().scaled(960, 540, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            const QString suffix = language == QLatin1String("en") ? QString() : QLatin1Char('-') + language;
            ASSERT_TRUE(shot.save(folder +
                                  QStringLiteral("/shield-%1%2.png")
                                      .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"), suffix)));
            controller.hide();
            test::processEventsFor(300ms); // the desktop repaints before the next grab
        }
    }
    L10n::shared().apply(QStringLiteral("en"));
}
