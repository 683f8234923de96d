#include "settings/PermissionsTab.h"

#include "SettingsTestFixture.h"
#include "settings/FooterNote.h"
#include "settings/GrantedBadge.h"
#include "settings/SettingsRow.h"
#include "settings/SettingsSidebar.h"
#include "settings/SettingsView.h"
#include "settings/SidebarRow.h"
#include "support/FakeCameraAuthorization.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <thread>

using namespace veilora;
using namespace veilora::test;
using Status = CameraAuthorization::Status;

namespace {

// The settings window with a camera to ask: the fixture's own controller has none.
class PermissionsTabTest : public SettingsWindowFixture
{
protected:
    void SetUp() override
    {
        SettingsWindowFixture::SetUp();
        camera.current = Status::notDetermined;
    }

    void TearDown() override
    {
        if (QPointer<SettingsWindow> window = withCamera.window()) {
            window->close();
            waitUntil([&] { return window.isNull(); });
        }
        // Views replaced by a click wait for an event loop to delete them, and they
        // point into this fixture: they go now, before it does.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        SettingsWindowFixture::TearDown();
    }

    PermissionsTab *openPermissions()
    {
        withCamera.show(SettingsTab::permissions);
        SettingsWindow *window = withCamera.window();
        if (!window || !waitUntil([window] { return window->isActiveWindow(); }))
            return nullptr;
        return qobject_cast<PermissionsTab *>(window->view()->tabView());
    }

    static void click(QAbstractButton *button)
    {
        ASSERT_TRUE(button->isVisible()) << button->text().toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }

    static bool showsGranted(PermissionsTab *tab)
    {
        return tab->grantedBadge()->isVisible() && !tab->grantButton()->isVisible();
    }

    FakeCameraAuthorization camera;
    std::vector<QWidget *> helpShownOver;
    SettingsRouter cameraRouter;
    SettingsWindowController withCamera{
        SettingsServices{
            &guard, &settings, {}, &camera, [this](QWidget *parent) { helpShownOver.push_back(parent); }},
        &cameraRouter};
};

} // namespace

TEST_F(PermissionsTabTest, GrantAsksWhenNothingWasDecidedAndTheAnswerShowsTheBadge)
{
    PermissionsTab *tab = openPermissions();
    ASSERT_NE(tab, nullptr);
    auto *row = tab->findChild<SettingsRow *>();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->title(), QStringLiteral("Camera"));
    EXPECT_EQ(row->subtitle(),
              QStringLiteral("Detects whether you are at your computer. Nothing is recorded"));
    auto *footer = tab->findChild<FooterNote *>();
    ASSERT_NE(footer, nullptr);
    EXPECT_TRUE(footer->isVisible());
    EXPECT_TRUE(footer->text().startsWith(QStringLiteral("Veilora needs camera access")));
    EXPECT_FALSE(tab->grantedBadge()->isVisible());
    EXPECT_EQ(tab->grantButton()->text(), QStringLiteral("Grant"));
    EXPECT_EQ(tab->grantButton()->height(), 30);

    click(tab->grantButton());
    ASSERT_EQ(camera.waiting.size(), 1u);
    EXPECT_TRUE(helpShownOver.empty());

    // The platform answers on a thread of its own.
    tab->refreshTimer()->stop();
    camera.current = Status::authorized;
    auto completion = std::move(camera.waiting.front());
    camera.waiting.clear();
    std::thread([&completion] { completion(true); }).join();
    ASSERT_TRUE(waitUntil([&] { return showsGranted(tab); }));
    EXPECT_EQ(tab->grantedBadge()->text(), QStringLiteral("Granted"));
    EXPECT_EQ(tab->grantedBadge()->palette().color(QPalette::WindowText), QColor(5, 150, 105));
    const QImage badge = tab->grantedBadge()->grab().toImage();
    const QColor capsule = badge.pixelColor(badge.width() / 2, 2);
    EXPECT_GT(capsule.green(), capsule.red() + 10) << "a faint green capsule behind the text";

    L10n::shared().apply(QStringLiteral("de"));
    EXPECT_EQ(tab->grantedBadge()->text(), QStringLiteral("Erlaubt"));
    EXPECT_EQ(row->title(), QStringLiteral("Kamera"));
}

TEST_F(PermissionsTabTest, AfterARefusalGrantExplainsInsteadOfAsking)
{
    for (const Status refused : {Status::denied, Status::restricted}) {
        camera.current = refused;
        helpShownOver.clear();
        PermissionsTab *tab = openPermissions();
        ASSERT_NE(tab, nullptr);
        click(tab->grantButton());
        EXPECT_TRUE(camera.waiting.empty());
        EXPECT_EQ(helpShownOver, std::vector<QWidget *>{withCamera.window()});
    }
}

TEST_F(PermissionsTabTest, AccessGrantedElsewhereShowsWithinASecond)
{
    PermissionsTab *tab = openPermissions();
    ASSERT_NE(tab, nullptr);
    EXPECT_TRUE(tab->refreshTimer()->isActive());
    EXPECT_FALSE(showsGranted(tab));

    QElapsedTimer elapsed;
    elapsed.start();
    camera.current = Status::authorized;
    ASSERT_TRUE(waitUntil([&] { return showsGranted(tab); }, std::chrono::seconds(3)));
    EXPECT_LE(elapsed.elapsed(), 1500) << "within about a second";

    // Taken back (consent removed from a shell): Grant returns.
    camera.current = Status::notDetermined;
    EXPECT_TRUE(waitUntil([&] { return tab->grantButton()->isVisible(); }, std::chrono::seconds(3)));
    EXPECT_FALSE(tab->grantedBadge()->isVisible());
}

TEST_F(PermissionsTabTest, TheStatusIsReadOnlyWhileTheTabIsShown)
{
    PermissionsTab *tab = openPermissions();
    ASSERT_NE(tab, nullptr);
    QPointer<QTimer> timer = tab->refreshTimer();
    ASSERT_TRUE(timer->isActive());

    SettingsWindow *window = withCamera.window();
    QTest::mouseClick(window->view()->sidebar()->row(SettingsTab::general), Qt::LeftButton);
    EXPECT_FALSE(timer->isActive());
    // The old view goes once control is back in an event loop; a test has none.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(timer.isNull());

    QTest::mouseClick(window->view()->sidebar()->row(SettingsTab::permissions), Qt::LeftButton);
    auto *again = qobject_cast<PermissionsTab *>(window->view()->tabView());
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(waitUntil([&] { return again->refreshTimer()->isActive(); }));

    // A hidden window reads nothing either, until it shows again.
    window->hide();
    EXPECT_FALSE(again->refreshTimer()->isActive());
    window->show();
    EXPECT_TRUE(again->refreshTimer()->isActive());
}
