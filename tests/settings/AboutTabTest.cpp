// The About tab in the real settings window: the product's identity, the
// update row only with an updater, and the two switches, used by clicking.
#include "settings/AboutTab.h"

#include "SettingsTestFixture.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsRow.h"
#include "settings/SettingsView.h"
#include "settings/ToggleSwitch.h"
#include "settings/UpdaterModel.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

using namespace veilora;
using namespace veilora::test;

namespace {

// The updater as the tab sees it: keeps the switch's value and counts checks.
class RecordingUpdater : public UpdaterModel
{
public:
    bool automaticallyChecksForUpdates() const override { return automatic; }
    void setAutomaticallyChecksForUpdates(bool enabled) override { automatic = enabled; }
    void checkForUpdates() override { ++checks; }

    bool automatic = true;
    int checks = 0;
};

class AboutTabTest : public SettingsWindowFixture
{
protected:
    void TearDown() override
    {
        for (SettingsWindowController *each : {&withUpdater, &controller}) {
            if (QPointer<SettingsWindow> window = each->window()) {
                window->close();
                waitUntil([&] { return window.isNull(); });
            }
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        settings.setCrashReportingEnabled(true);
        SettingsWindowFixture::TearDown();
    }

    static AboutTab *openAbout(SettingsWindowController &which)
    {
        which.show(SettingsTab::about);
        SettingsWindow *window = which.window();
        if (!window || !waitUntil([window] { return window->isActiveWindow(); }))
            return nullptr;
        return qobject_cast<AboutTab *>(window->view()->tabView());
    }

    static void click(QAbstractButton *button)
    {
        ASSERT_TRUE(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
    }

    RecordingUpdater updater;
    SettingsRouter updaterRouter;
    SettingsWindowController withUpdater{
        SettingsServices{&guard, &settings, {}, nullptr, {}, nullptr, nullptr, &updater}, &updaterRouter};
};

TEST_F(AboutTabTest, WithoutAnUpdateFeedOnlyTheIdentityAndTheCrashSwitch)
{
    AboutTab *tab = openAbout(controller);
    ASSERT_NE(tab, nullptr);
    EXPECT_EQ(tab->checkNowButton(), nullptr);
    EXPECT_EQ(tab->autoUpdateSwitch(), nullptr);
    QStringList texts;
    for (const QLabel *label : tab->findChildren<QLabel *>())
        texts << label->text();
    for (const QString &expected :
         {QStringLiteral("Veilora"), QStringLiteral("Step away, and your screen blurs itself."),
          QStringLiteral("Version ") + AboutTab::version(), QStringLiteral("Send crash reports")})
        EXPECT_TRUE(texts.contains(expected)) << expected.toStdString();
    EXPECT_EQ(tab->webLink()->text(), QStringLiteral("veilora.norvane.com"));
    EXPECT_EQ(tab->webLink()->cursor().shape(), Qt::PointingHandCursor);

    // Switching crash reports off is stored where the crash reporter reads it.
    EXPECT_TRUE(tab->crashReportsSwitch()->isChecked());
    click(tab->crashReportsSwitch());
    EXPECT_FALSE(settings.crashReportingEnabled());
    EXPECT_EQ(settings.defaults().boolValue(QString::fromLatin1(AppSettings::crashReportingEnabledKey)),
              false);
}

TEST_F(AboutTabTest, TheUpdateRowChecksAndReadsItsSwitchBackFromTheUpdater)
{
    AboutTab *tab = openAbout(withUpdater);
    ASSERT_NE(tab, nullptr);
    ASSERT_NE(tab->checkNowButton(), nullptr);
    EXPECT_EQ(tab->checkNowButton()->text(), QStringLiteral("Check now"));
    EXPECT_EQ(tab->checkNowButton()->height(), 26);
    click(tab->checkNowButton());
    EXPECT_EQ(updater.checks, 1);

    EXPECT_TRUE(tab->autoUpdateSwitch()->isChecked());
    click(tab->autoUpdateSwitch());
    EXPECT_FALSE(updater.automatic);

    // The updater's own value is shown whenever the tab appears again.
    updater.automatic = true;
    withUpdater.show(SettingsTab::general);
    tab = openAbout(withUpdater);
    ASSERT_NE(tab, nullptr);
    EXPECT_TRUE(tab->autoUpdateSwitch()->isChecked());
}

} // namespace
