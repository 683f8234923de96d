#include "settings/GeneralTab.h"

#include "SettingsTestFixture.h"
#include "localization/LanguageOverride.h"
#include "platform/UserDefaults.h"
#include "settings/SettingsSidebar.h"
#include "settings/SettingsView.h"
#include "settings/SidebarRow.h"
#include "settings/ToggleSwitch.h"
#include "settings/ToneLabel.h"

#include <QMenu>
#include <QTest>

using namespace veilora;
using namespace veilora::test;

namespace {

class GeneralTabTest : public SettingsWindowFixture
{
protected:
    GeneralTab *openGeneral()
    {
        SettingsWindow *window = open(SettingsTab::general);
        return window ? qobject_cast<GeneralTab *>(window->view()->tabView()) : nullptr;
    }

    // Clicks the pill and returns the menu that opened under it.
    static QMenu *openMenu(PulldownPill *pill)
    {
        QTest::mouseClick(pill, Qt::LeftButton, {}, QPoint(pill->width() - 8, pill->height() / 2));
        QMenu *menu = nullptr;
        waitUntil([&] {
            menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            return menu && menu->isVisible();
        });
        return menu;
    }

    static QStringList titles(const QMenu *menu)
    {
        QStringList result;
        for (const QAction *action : menu->actions())
            result.append(action->text());
        return result;
    }

    static QStringList checked(const QMenu *menu)
    {
        QStringList result;
        for (const QAction *action : menu->actions()) {
            if (action->isChecked())
                result.append(action->text());
        }
        return result;
    }

    static void pick(QMenu *menu, const QString &title)
    {
        for (QAction *action : menu->actions()) {
            if (action->text() == title) {
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
                return;
            }
        }
        ADD_FAILURE() << "no menu entry " << title.toStdString();
    }

    // Every text a person can read in the window, by the widget that shows it.
    static std::map<QWidget *, QString> visibleTexts(QWidget *window)
    {
        std::map<QWidget *, QString> texts;
        for (auto *label : window->findChildren<QLabel *>()) {
            if (label->isVisible() && !label->text().isEmpty())
                texts[label] = label->text();
        }
        for (auto *button : window->findChildren<QAbstractButton *>()) {
            if (button->isVisible() && !button->text().isEmpty())
                texts[button] = button->text();
        }
        texts[window] = window->windowTitle();
        return texts;
    }
};

} // namespace

TEST_F(GeneralTabTest, GraceIsPickedFromTheMenuAndReadsInTheInterfaceLanguage)
{
    guard.reportEnrolled(true);
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("10 sec"));

    QMenu *menu = openMenu(tab->graceDropdown());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(titles(menu),
              QStringList({QStringLiteral("5 sec"), QStringLiteral("10 sec"), QStringLiteral("20 sec"),
                           QStringLiteral("30 sec"), QStringLiteral("45 sec"), QStringLiteral("1 min")}));
    EXPECT_EQ(checked(menu), QStringList{QStringLiteral("10 sec")});
    pick(menu, QStringLiteral("1 min"));
    EXPECT_EQ(guard.graceWrites, std::vector<int>{60});
    EXPECT_TRUE(waitUntil([&] { return !menu || !menu->isVisible(); }));
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("1 min"));
    EXPECT_EQ(tab->graceDropdown()->accessibleName(), QStringLiteral("Delay before blurring"))
        << "assistive technology hears what the dropdown is for";

    L10n::shared().apply(QStringLiteral("de"));
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("1 Min."));
    menu = openMenu(tab->graceDropdown());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(titles(menu).first(), QStringLiteral("5 Sek."));
    EXPECT_EQ(checked(menu), QStringList{QStringLiteral("1 Min.")});
    QTest::keyClick(menu, Qt::Key_Escape);
    EXPECT_EQ(guard.graceWrites, std::vector<int>{60}) << "closing the menu writes nothing";
}

TEST_F(GeneralTabTest, AGraceFromAnotherComputerIsShownAsItIsWithoutBeingRewritten)
{
    guard.reportGraceSeconds(15);
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("15 sec"));

    QMenu *menu = openMenu(tab->graceDropdown());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(titles(menu).mid(1, 3),
              QStringList({QStringLiteral("10 sec"), QStringLiteral("15 sec"), QStringLiteral("20 sec")}));
    EXPECT_EQ(checked(menu), QStringList{QStringLiteral("15 sec")});
    QTest::keyClick(menu, Qt::Key_Escape);

    guard.reportGraceSeconds(90);
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("90 sec"));
    guard.reportGraceSeconds(120);
    EXPECT_EQ(tab->graceDropdown()->label->text(), QStringLiteral("2 min"));
    EXPECT_TRUE(guard.graceWrites.empty());
}

TEST_F(GeneralTabTest, PickingDeutschRetitlesTheWholeWindowAtOnceAndSystemRemovesTheChoice)
{
    guard.reportEnrolled(true);
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    SettingsWindow *window = controller.window();
    const auto english = visibleTexts(window);

    QMenu *menu = openMenu(tab->languageDropdown());
    ASSERT_NE(menu, nullptr);
    const QStringList languages = titles(menu);
    ASSERT_EQ(languages.size(), 15);
    EXPECT_EQ(languages.first(), QStringLiteral("System"));
    EXPECT_EQ(languages.mid(1, 3),
              QStringList({QStringLiteral("English"), QStringLiteral("日本語"), QStringLiteral("한국어")}));
    EXPECT_EQ(languages.at(9), QStringLiteral("Português (Brasil)"));
    EXPECT_EQ(languages.last(), QStringLiteral("Türkçe"));
    EXPECT_EQ(checked(menu), QStringList{QStringLiteral("System")}) << "no language stored yet";

    pick(menu, QStringLiteral("Deutsch"));
    // At once: no event processing between the click and the checks.
    EXPECT_EQ(settings.languageCode(), QStringLiteral("de"));
    EXPECT_EQ(LanguageOverride::current(), QStringList{QStringLiteral("de")});
    EXPECT_EQ(L10n::shared().language(), AppLanguage::de);
    const L10n &l10n = L10n::shared();
    EXPECT_EQ(window->windowTitle(),
              l10n.string(QStringLiteral("settings.title")) + QStringLiteral(" — Veilora"));
    EXPECT_EQ(window->view()->paneTitle(), l10n.string(QStringLiteral("tab.general")));
    EXPECT_EQ(window->view()->paneSubtitle(), l10n.string(QStringLiteral("sub.general")));
    EXPECT_EQ(window->view()->sidebar()->row(SettingsTab::about)->text(),
              l10n.string(QStringLiteral("tab.about")));
    EXPECT_EQ(tab->enrollButton()->text(), l10n.string(QStringLiteral("pg.reenroll")));
    EXPECT_EQ(tab->languageDropdown()->label->text(), QStringLiteral("Deutsch"));
    // Nothing that was English stays English, except names that are never translated.
    const QStringList names = {QStringLiteral("Veilora"), QStringLiteral("English")};
    for (const auto &[widget, before] : english) {
        if (names.contains(before) || widget->objectName() == QStringLiteral("sidebarVersion"))
            continue;
        QString now = widget->isWindow() ? widget->windowTitle() : QString();
        if (auto *label = qobject_cast<QLabel *>(widget))
            now = label->text();
        if (auto *button = qobject_cast<QAbstractButton *>(widget))
            now = button->text();
        EXPECT_NE(now, before) << widget->metaObject()->className() << " still reads "
                               << before.toStdString();
    }

    menu = openMenu(tab->languageDropdown());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checked(menu), QStringList{QStringLiteral("Deutsch")});
    pick(menu, l10n.string(QStringLiteral("common.systemDefault")));
    EXPECT_EQ(settings.languageCode(), std::nullopt);
    EXPECT_FALSE(settings.defaults().contains(QString::fromLatin1(AppSettings::languageCodeKey)));
    EXPECT_TRUE(LanguageOverride::current().isEmpty()) << "the per-application override is gone";
    EXPECT_EQ(L10n::shared().language(), AppLanguages::systemDefault());
    EXPECT_EQ(tab->languageDropdown()->label->text(),
              L10n::shared().string(QStringLiteral("common.systemDefault")));
}

TEST_F(GeneralTabTest, ProtectionAndTheFaceRowFollowEnrollment)
{
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    const auto faceSubtitle = [tab] {
        for (auto *label : tab->findChildren<ToneLabel *>()) {
            if (label->isVisible() && label->text().startsWith(QStringLiteral("Not enrolled")))
                return label->text();
            if (label->isVisible() && label->text() == QStringLiteral("Enrolled"))
                return label->text();
        }
        return QString();
    };

    // Not enrolled: the switch cannot be turned on and only enrolling is offered.
    EXPECT_FALSE(tab->protectionSwitch()->isEnabled());
    QTest::mouseClick(tab->protectionSwitch(), Qt::LeftButton);
    EXPECT_TRUE(guard.enabledWrites.empty());
    EXPECT_EQ(faceSubtitle(), QStringLiteral("Not enrolled (enroll your face first)"));
    EXPECT_FALSE(tab->deleteButton()->isVisible());
    EXPECT_EQ(tab->enrollButton()->text(), QStringLiteral("Enroll Face…"));

    // The guard reports a profile (the enrollment sheet finished).
    guard.reportEnrolled(true);
    EXPECT_TRUE(tab->protectionSwitch()->isEnabled());
    EXPECT_EQ(faceSubtitle(), QStringLiteral("Enrolled"));
    EXPECT_TRUE(tab->deleteButton()->isVisible());
    EXPECT_EQ(tab->deleteButton()->text(), QStringLiteral("Delete"));
    EXPECT_EQ(tab->enrollButton()->text(), QStringLiteral("Re-enroll…"));
    QTest::mouseClick(tab->protectionSwitch(), Qt::LeftButton);
    EXPECT_EQ(guard.enabledWrites, std::vector<bool>{true});
    EXPECT_TRUE(tab->protectionSwitch()->isChecked());

    // Delete acts at once, without asking, and the row goes back.
    QTest::mouseClick(tab->deleteButton(), Qt::LeftButton);
    EXPECT_EQ(guard.deletions, 1);
    EXPECT_EQ(faceSubtitle(), QStringLiteral("Not enrolled (enroll your face first)"));
    EXPECT_FALSE(tab->deleteButton()->isVisible());
    EXPECT_EQ(tab->enrollButton()->text(), QStringLiteral("Enroll Face…"));
    EXPECT_FALSE(tab->protectionSwitch()->isEnabled());
    EXPECT_FALSE(tab->protectionSwitch()->isChecked());
    EXPECT_EQ(guard.enabledWrites, std::vector<bool>{true}) << "the switch only shows the guard's change";
}

TEST_F(GeneralTabTest, EnrollPresentsTheSheetOverTheWindowAndStaysOffWithoutOne)
{
    std::vector<QWidget *> presentedOver;
    presentEnrollment = [&](QWidget *parent) { presentedOver.push_back(parent); };
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    QTest::mouseClick(tab->enrollButton(), Qt::LeftButton);
    EXPECT_EQ(presentedOver, std::vector<QWidget *>{controller.window()});

    // An application without an enrollment sheet: the button must not pretend.
    SettingsRouter otherRouter;
    SettingsWindowController bare({&guard, &settings, {}}, &otherRouter);
    bare.show(SettingsTab::general);
    QPointer<SettingsWindow> window = bare.window();
    ASSERT_NE(window, nullptr);
    auto *bareTab = qobject_cast<GeneralTab *>(window->view()->tabView());
    ASSERT_NE(bareTab, nullptr);
    EXPECT_FALSE(bareTab->enrollButton()->isEnabled());
    window->close();
    EXPECT_TRUE(waitUntil([&] { return window.isNull(); }));
}

TEST_F(GeneralTabTest, CameraDeniedShowsTheWarningUnderTheCard)
{
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    EXPECT_FALSE(tab->cameraWarning()->isVisible());
    guard.reportCameraDenied(true);
    EXPECT_TRUE(tab->cameraWarning()->isVisible());
    EXPECT_TRUE(tab->cameraWarning()->text().startsWith(QStringLiteral("Camera access is not allowed.")));
    EXPECT_EQ(tab->cameraWarning()->palette().color(QPalette::WindowText), Theme::warn());
    guard.reportCameraDenied(false);
    EXPECT_FALSE(tab->cameraWarning()->isVisible());
}

TEST_F(GeneralTabTest, LaunchAtLoginSwitchWritesThroughTheSettings)
{
    settings.setLaunchAtLogin(true);
    GeneralTab *tab = openGeneral();
    ASSERT_NE(tab, nullptr);
    ToggleSwitch *toggle = tab->launchAtLoginSwitch();
    EXPECT_TRUE(toggle->isChecked());
    EXPECT_EQ(toggle->accessibleName(), QStringLiteral("Launch Veilora at login"));

    QTest::mouseClick(toggle, Qt::LeftButton);
    EXPECT_FALSE(settings.launchAtLogin());
    EXPECT_EQ(settings.defaults().boolValue(QString::fromLatin1(AppSettings::launchAtLoginKey)), false);

    // A change made elsewhere (onboarding, sync) shows in the open window.
    settings.setLaunchAtLogin(true);
    EXPECT_TRUE(toggle->isChecked());
}
