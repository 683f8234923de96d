#include "ShellTestServices.h"
#include "app/MenuBarIcon.h"
#include "app/StatusItemController.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/SettingsRouter.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "support/FakeLoginItem.h"
#include "support/TestSupport.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QSystemTrayIcon>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using State = MenuBarIcon::State;

namespace {

// A real XEmbed system tray (trayer) across the top of the X display, in a plain
// panel colour; `padding` shows panel around the icons.
class TrayHost
{
public:
    explicit TrayHost(const QColor &panel, int height = 22, int padding = 0)
    {
        m_process.start(
            QStringLiteral("trayer"),
            QStringLiteral("--edge top --align center --widthtype request --transparent true --alpha 0 "
                           "--height %1 --padding %2 --tint 0x%3")
                .arg(height)
                .arg(padding)
                .arg(panel.name().mid(1))
                .split(u' '));
        up = m_process.waitForStarted() && waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); });
    }
    ~TrayHost()
    {
        m_process.terminate();
        m_process.waitForFinished();
        waitUntil([] { return !QSystemTrayIcon::isSystemTrayAvailable(); });
    }
    bool up = false;

private:
    QProcess m_process;
};

// Until trayer has taken the icon in, the icon has a place of its own at the origin.
bool waitEmbedded(const StatusItemController &status)
{
    return waitUntil([&] { return status.statusItem().geometry().x() > 0; });
}

// The icon as the tray shows it; with a margin, the panel around it too.
QImage grabIcon(const QSystemTrayIcon &icon, int margin = 0)
{
    const QRect where = icon.geometry().adjusted(-margin, -margin, margin, margin);
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, where.x(), where.y(), where.width(), where.height())
        .toImage();
}

int pixelsNear(const QImage &image, const QColor &color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            count += qAbs(c.red() - color.red()) + qAbs(c.green() - color.green()) +
                         qAbs(c.blue() - color.blue()) <
                     60;
        }
    }
    return count;
}

QMessageBox *visibleBox(const QString &name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == name && window->isVisible())
            return qobject_cast<QMessageBox *>(window);
    }
    return nullptr;
}

// Clicks the notice's offer of the settings, as the user would; false when no notice shows.
bool acceptNoTrayNotice()
{
    QMessageBox *notice = visibleBox(QStringLiteral("noTrayNotice"));
    if (!notice)
        return false;
    for (QAbstractButton *button : notice->buttons()) {
        if (notice->buttonRole(button) == QMessageBox::AcceptRole)
            button->click();
    }
    return true;
}

class StatusItemTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            if (inTestSession())
                FAIL() << "the test session has no X display";
            GTEST_SKIP() << "needs an X display";
        }
    }

    StatusItemController &make()
    {
        services = rec.services();
        controller = std::make_unique<StatusItemController>(services);
        return *controller;
    }

    // Opens the menu for real and reads it: "---" for a separator, "[x] " before a checked item.
    QStringList openMenu()
    {
        QMenu &menu = controller->menu();
        menu.popup(QPoint(200, 200));
        EXPECT_TRUE(waitUntil([&] { return menu.isVisible(); }));
        QStringList titles;
        for (QAction *item : menu.actions())
            titles << (item->isSeparator()
                           ? QStringLiteral("---")
                           : (item->isChecked() ? QStringLiteral("[x] ") : QString()) + item->text());
        menu.close();
        return titles;
    }

    void trigger(const QString &title)
    {
        for (QAction *action : controller->menu().actions()) {
            if (action->text() == title)
                return action->trigger();
        }
        ADD_FAILURE() << "no menu item " << title.toStdString();
    }

    RecordingServices rec;
    ShellServices services;
    std::unique_ptr<StatusItemController> controller;
};

TEST_F(StatusItemTest, IconAppearsInARealTrayTintedAgainstThePanel)
{
    for (const QColor &panel : {QColor(0xf0, 0xf0, 0xf0), QColor(0x20, 0x20, 0x20)}) {
        SCOPED_TRACE(panel.name().toStdString());
        TrayHost host(panel);
        ASSERT_TRUE(host.up) << "trayer did not provide a tray";
        rec.guard.set(true, true, false);
        StatusItemController &status = make();
        ASSERT_TRUE(waitEmbedded(status));
        // The periodic refresh picks up the panel once the icon sits on it.
        EXPECT_TRUE(waitUntil([&] {
            status.refreshIcon();
            return pixelsNear(grabIcon(status.statusItem()), MenuBarIcon::tintFor(panel)) > 20;
        })) << "no glyph in the contrasting colour";
        EXPECT_EQ(status.state(), State::active);
        controller.reset();
    }
}

TEST_F(StatusItemTest, IconTooltipAndMenuFollowTheGuard)
{
    const QString settings = QStringLiteral("Settings…"), permissions = QStringLiteral("Set Up Permissions…"),
                  about = QStringLiteral("About Veilora"), quit = QStringLiteral("Quit Veilora"),
                  line = QStringLiteral("---");

    // Protection on without an enrolled face.
    rec.guard.set(true, false, false);
    StatusItemController &status = make();
    EXPECT_EQ(status.state(), State::off);
    EXPECT_EQ(status.statusItem().toolTip(), QStringLiteral("Veilora"));
    EXPECT_EQ(openMenu(),
              (QStringList{QStringLiteral("Enroll Your Face…"), line, settings, about, line, quit}));
    EXPECT_EQ(controller->menu().actions().at(2)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
    EXPECT_EQ(controller->menu().actions().last()->shortcut(), QKeySequence(QKeySequence::Quit));

    // Off while permission was never asked: a plain icon, but the menu offers the permissions.
    rec.camera.current = CameraAuthorization::Status::notDetermined;
    rec.guard.set(false, true, false);
    const QStringList offMenu{
        QStringLiteral("Enable Protection"), line, settings, permissions, about, line, quit};
    EXPECT_EQ(openMenu(), offMenu);
    EXPECT_EQ(openMenu(), offMenu) << "a second opening must not add items";
    EXPECT_EQ(status.state(), State::off);

    // On, waiting for permission.
    rec.guard.set(true, true, false);
    ASSERT_TRUE(waitUntil([&] { return status.state() == State::permissionWarning; }));

    // Denied: the badge and the tooltip, whatever else holds.
    rec.camera.current = CameraAuthorization::Status::authorized;
    rec.guard.set(false, false, true);
    ASSERT_TRUE(waitUntil([&] { return status.state() == State::permissionWarning; }));
    EXPECT_EQ(status.statusItem().toolTip(), QStringLiteral("Veilora — Permissions Required"));
    EXPECT_TRUE(openMenu().contains(permissions));

    // All set, and no update feed: no update item.
    rec.guard.set(true, true, false);
    ASSERT_TRUE(waitUntil([&] { return status.state() == State::active; }));
    EXPECT_EQ(openMenu(),
              (QStringList{QStringLiteral("[x] Disable Protection"), line, settings, about, line, quit}));
}

TEST_F(StatusItemTest, MenuActionsReachTheirTargets)
{
    rec.feedURL = QStringLiteral("https://updates.example/appcast.xml");
    rec.camera.current = CameraAuthorization::Status::denied;
    rec.cameraBlocked = true;
    rec.guard.set(true, true, false);
    make();
    const QStringList titles = openMenu();
    EXPECT_EQ(titles.indexOf(QStringLiteral("Check for Updates…")) + 1,
              titles.indexOf(QStringLiteral("About Veilora")));
    rec.calls.clear();
    for (const char *title :
         {"Disable Protection", "Settings…", "Set Up Permissions…", "Check for Updates…", "Quit Veilora"})
        trigger(QString::fromUtf8(title));
    EXPECT_EQ(rec.calls,
              (QStringList{QStringLiteral("guard.setEnabled(false)"), QStringLiteral("settings.show(last)"),
                           QStringLiteral("settings.show(permissions)"), QStringLiteral("updater.check"),
                           QStringLiteral("quit")}));
    // The system blocks the camera, which only the "video" group fixes.
    QMessageBox *hint = visibleBox(QStringLiteral("videoGroupHint"));
    ASSERT_NE(hint, nullptr);
    EXPECT_TRUE(hint->text().contains(QStringLiteral("video")));
    hint->close();

    trigger(QStringLiteral("About Veilora"));
    trigger(QStringLiteral("About Veilora"));
    QMessageBox *aboutBox = visibleBox(QStringLiteral("aboutPanel"));
    ASSERT_NE(aboutBox, nullptr);
    EXPECT_TRUE(aboutBox->text().contains(QStringLiteral("Veilora")));
    EXPECT_TRUE(aboutBox->text().contains(QStringLiteral("1.0.0 (7)")));
    const QWidgetList windows = QApplication::topLevelWidgets();
    EXPECT_EQ(std::count_if(windows.cbegin(), windows.cend(),
                            [](QWidget *w) {
                                return w->objectName() == QLatin1String("aboutPanel") && w->isVisible();
                            }),
              1);
    aboutBox->close();

    rec.guard.set(true, false, false);
    openMenu();
    trigger(QStringLiteral("Enroll Your Face…"));
    EXPECT_EQ(rec.calls.last(), QStringLiteral("settings.show(general)"));
}

TEST_F(StatusItemTest, WithoutATraySaysSoOnceAndOffersTheSettings)
{
    ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable());
    StatusItemController &status = make();
    rec.calls.clear();
    status.checkTrayPresence();
    ASSERT_TRUE(acceptNoTrayNotice());
    EXPECT_EQ(rec.calls, QStringList{QStringLiteral("settings.show(last)")});
    ASSERT_TRUE(waitUntil([] { return !visibleBox(QStringLiteral("noTrayNotice")); }));
    status.checkTrayPresence();
    EXPECT_EQ(visibleBox(QStringLiteral("noTrayNotice")), nullptr);
}

// The shell's paths end in the real settings window, as the application wires it.
TEST_F(StatusItemTest, MenuAndNoticePathsOpenTheSettingsWindowOnTheirTab)
{
    FakeLoginItem loginItem;
    AppSettings settings(UserDefaults::standard(), loginItem);
    SettingsRouter router;
    SettingsWindowController windows({&rec.guard, &settings, {}}, &router);
    rec.camera.current = CameraAuthorization::Status::denied;
    StatusItemController &status = make();
    services.showSettings = [&](std::optional<SettingsTab> tab) { windows.show(tab); };
    const auto shownTab = [&]() -> std::optional<SettingsTab> {
        if (!windows.window() || !waitUntil([&] { return windows.window()->isVisible(); }))
            return std::nullopt;
        return router.selectedTab();
    };

    rec.guard.set(false, false, false);
    openMenu();
    trigger(QStringLiteral("Set Up Permissions…"));
    EXPECT_EQ(shownTab(), SettingsTab::permissions);
    trigger(QStringLiteral("Enroll Your Face…"));
    EXPECT_EQ(shownTab(), SettingsTab::general);
    QPointer<QWidget> first = windows.window();

    // Closing releases the window; "Settings…" builds a new one on the last tab.
    router.setSelectedTab(SettingsTab::about);
    first->close();
    ASSERT_TRUE(waitUntil([&] { return first.isNull(); }));
    trigger(QStringLiteral("Settings…"));
    EXPECT_EQ(shownTab(), SettingsTab::about);
    windows.window()->close();
    ASSERT_TRUE(waitUntil([&] { return !windows.window(); }));

    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        status.checkTrayPresence();
        ASSERT_TRUE(acceptNoTrayNotice());
        EXPECT_EQ(shownTab(), SettingsTab::about);
    }
}

// With VEILORA_TRAY_SHOTS=<folder>, writes the documentation's pictures of the
// icon in a tray, at the scale the test runs with (QT_SCALE_FACTOR).
TEST_F(StatusItemTest, DocumentationShots)
{
    const QString folder = qEnvironmentVariable("VEILORA_TRAY_SHOTS");
    if (folder.isEmpty())
        GTEST_SKIP() << "set VEILORA_TRAY_SHOTS to a folder to write the pictures";
    QDir().mkpath(folder);
    const QColor panel(0xe8, 0xe8, 0xe8);
    const int scale = qRound(qApp->devicePixelRatio());
    TrayHost host(panel, 34 * scale, 6 * scale);
    ASSERT_TRUE(host.up);
    StatusItemController &status = make();
    ASSERT_TRUE(waitEmbedded(status));
    const std::pair<State, const char *> states[] = {
        {State::active, "active"}, {State::off, "off"}, {State::permissionWarning, "permission-warning"}};
    for (const auto &[state, name] : states) {
        rec.guard.set(state != State::off, true, state == State::permissionWarning);
        ASSERT_TRUE(waitUntil([&, state = state] {
            status.refreshIcon();
            return status.state() == state &&
                   pixelsNear(grabIcon(status.statusItem()), MenuBarIcon::tintFor(panel)) > 20;
        }));
        processEventsFor(std::chrono::milliseconds(300)); // the tray repaints
        QImage shot = grabIcon(status.statusItem(), status.statusItem().geometry().top());
        while (shot.height() > 1 && shot.pixelColor(0, shot.height() - 1) == QColor(Qt::black))
            shot = shot.copy(0, 0, shot.width(), shot.height() - 1); // below the panel
        shot.save(QStringLiteral("%1/tray-%2@%3x.png").arg(folder, QLatin1String(name)).arg(scale));
    }
}

TEST(MenuBarIconTest, DrawsEachStateAsDesigned)
{
    const auto alpha = [](const QImage &image, int x, int y) { return qAlpha(image.pixel(x, y)); };
    const QImage active = MenuBarIcon::image(State::active), off = MenuBarIcon::image(State::off);
    ASSERT_EQ(active.size(), QSize(16, 16));
    EXPECT_EQ(alpha(active, 8, 7), 255) << "the bar across the shield";
    EXPECT_EQ(alpha(off, 8, 7), 0);
    EXPECT_GT(alpha(off, 8, 1), 240) << "the top of the outline";

    // At 2× and 4× the badge's details are whole pixels.
    const QImage off2 = MenuBarIcon::render(State::off, 16, 2.0, Qt::black);
    const QImage warning2 = MenuBarIcon::render(State::permissionWarning, 16, 2.0, Qt::black);
    const QImage warning4 = MenuBarIcon::render(State::permissionWarning, 16, 4.0, Qt::black);
    ASSERT_EQ(warning2.size(), QSize(32, 32));
    EXPECT_EQ(alpha(off2, 19, 4), 255);
    EXPECT_EQ(alpha(warning2, 19, 4), 0) << "the ring cleared around the badge";
    EXPECT_EQ(alpha(warning2, 23, 6), 255) << "the badge disc";
    EXPECT_EQ(alpha(warning2, 25, 4), 0) << "the exclamation mark cut out of the disc";
    EXPECT_EQ(alpha(warning4, 51, 17), 0) << "and its dot";

    const QImage light = MenuBarIcon::render(State::active, 22, 1.0, Qt::white);
    ASSERT_EQ(light.size(), QSize(22, 22));
    EXPECT_EQ(light.pixelColor(11, 10), QColor(Qt::white));
    EXPECT_EQ(MenuBarIcon::tintFor(QColor(0xf0, 0xf0, 0xf0)), QColor(Qt::black));
    EXPECT_EQ(MenuBarIcon::tintFor(QColor(0x30, 0x30, 0x38)), QColor(Qt::white));
}

} // namespace
