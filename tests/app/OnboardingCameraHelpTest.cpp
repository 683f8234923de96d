// The camera help that the onboarding's "No prompt?" and a refused Grant lead to.
#include "app/CameraAccessHelp.h"
#include "controls/Palettes.h"
#include "controls/PillButton.h"
#include "localization/AppLanguage.h"
#include "localization/L10n.h"
#include "settings/ToneLabel.h"
#include "support/FakeCameraAccessHelpLauncher.h"
#include "support/FakeCameraAuthorization.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using Status = CameraAuthorization::Status;

namespace {

class CameraHelpTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        L10n::shared().apply(QStringLiteral("en"));
        QApplication::setPalette(Palettes::light());
        camera.current = Status::notDetermined;
    }

    void TearDown() override
    {
        if (QPointer<CameraAccessHelp> help = CameraAccessHelp::current()) {
            help->close();
            waitUntil([&] { return help.isNull(); });
        }
        L10n::shared().apply(QStringLiteral("en"));
    }

    CameraHelpContext context()
    {
        return {[this] {
                    CameraFacts now = facts;
                    now.status = camera.status();
                    return now;
                },
                &camera,
                [this] {
                    ++allowed;
                    camera.current = Status::authorized;
                },
                &launcher,
                QStringLiteral("alice"),
                QStringLiteral("com.norvane.privacy-shield")};
    }

    // Opens the help and waits until it is on screen and active.
    CameraAccessHelp *open()
    {
        CameraAccessHelp *help = CameraAccessHelp::present(context(), nullptr);
        EXPECT_TRUE(waitUntil([help] { return help->isActiveWindow(); }));
        return help;
    }

    // The buttons a person sees, by their text, leading to trailing.
    static QStringList visibleButtons(CameraAccessHelp *help)
    {
        QStringList titles;
        for (PillButton *button :
             {help->copyButton(), help->closeButton(), help->askButton(), help->openSettingsButton(),
              help->allowButton(), help->addToGroupButton()}) {
            if (button->isVisible())
                titles << button->text();
        }
        return titles;
    }

    static void click(QAbstractButton *button)
    {
        ASSERT_TRUE(button->isVisible()) << button->text().toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }

    CameraFacts facts;
    FakeCameraAuthorization camera;
    FakeCameraAccessHelpLauncher launcher;
    int allowed = 0;
};

} // namespace

TEST(CameraObstacleTest, TheFirstBlockInTheOrderAPersonMustClearIsNamed)
{
    using O = CameraObstacle;
    const auto obstacle = [](bool sandboxed, bool present, bool inaccessible, Status status) {
        return obstacleFor({sandboxed, present, inaccessible, status});
    };
    EXPECT_EQ(obstacle(false, true, false, Status::authorized), O::none);
    EXPECT_EQ(obstacle(false, true, false, Status::notDetermined), O::notAsked);
    EXPECT_EQ(obstacle(false, true, false, Status::denied), O::consentRefused);
    EXPECT_EQ(obstacle(false, true, true, Status::denied), O::notInVideoGroup)
        << "consent cannot help while the devices stay closed";
    EXPECT_EQ(obstacle(false, false, false, Status::denied), O::noCamera);
    EXPECT_EQ(obstacle(false, false, false, Status::authorized), O::noCamera);
    // In a sandbox the portal decides, whatever the device nodes say.
    EXPECT_EQ(obstacle(true, true, true, Status::notDetermined), O::portalRefused);
    EXPECT_EQ(obstacle(true, false, false, Status::denied), O::portalRefused);
    EXPECT_EQ(obstacle(true, true, false, Status::authorized), O::none);
}

TEST_F(CameraHelpTest, ARefusalGivenEarlierIsLiftedFromTheHelp)
{
    camera.current = Status::denied;
    CameraAccessHelp *help = open();
    EXPECT_EQ(help->windowTitle(), QStringLiteral("Camera access — Veilora"));
    EXPECT_EQ(help->titleLabel()->text(), QStringLiteral("Camera access was turned down"));
    EXPECT_EQ(visibleButtons(help),
              (QStringList{QStringLiteral("Close"), QStringLiteral("Allow Camera Access")}));
    EXPECT_FALSE(help->commandLabel()->isVisible());

    click(help->allowButton());
    EXPECT_EQ(allowed, 1);
    EXPECT_EQ(camera.status(), Status::authorized);
    EXPECT_EQ(help->obstacle(), CameraObstacle::none);
    EXPECT_EQ(help->titleLabel()->text(), QStringLiteral("Veilora may use the camera"));
    EXPECT_EQ(visibleButtons(help), QStringList{QStringLiteral("OK")});

    QPointer<CameraAccessHelp> closing = help;
    click(help->closeButton());
    EXPECT_TRUE(waitUntil([&] { return closing.isNull(); }));
}

TEST_F(CameraHelpTest, OutsideTheVideoGroupItShowsTheCommandAndAddsThroughPkexec)
{
    facts.devicesInaccessible = true;
    camera.current = Status::denied;
    launcher.installed = {QStringLiteral("pkexec")};
    CameraAccessHelp *help = open();
    EXPECT_EQ(help->obstacle(), CameraObstacle::notInVideoGroup);
    EXPECT_EQ(help->titleLabel()->text(), QStringLiteral("Your account may not use the camera"));
    EXPECT_TRUE(help->bodyLabel()->text().contains(QStringLiteral("“alice”")));
    EXPECT_TRUE(help->bodyLabel()->text().contains(QStringLiteral("log out and back in")));
    EXPECT_TRUE(help->commandLabel()->isVisible());
    EXPECT_EQ(help->commandLabel()->text(), QStringLiteral("sudo usermod -aG video alice"));
    EXPECT_EQ(visibleButtons(help), (QStringList{QStringLiteral("Copy"), QStringLiteral("Close"),
                                                 QStringLiteral("Add Me to the Video Group")}));

    click(help->copyButton());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("sudo usermod -aG video alice"));
    EXPECT_EQ(help->copyButton()->text(), QStringLiteral("Copied"));

    click(help->addToGroupButton());
    ASSERT_EQ(launcher.runs.size(), 1u);
    EXPECT_EQ(launcher.runs[0].program, QStringLiteral("pkexec"));
    EXPECT_EQ(launcher.runs[0].arguments, (QStringList{QStringLiteral("usermod"), QStringLiteral("-aG"),
                                                       QStringLiteral("video"), QStringLiteral("alice")}));
    EXPECT_FALSE(help->addToGroupButton()->isEnabled()) << "one run at a time";
    EXPECT_FALSE(help->resultLabel()->isVisible());

    // Refused (a wrong password, a dismissed prompt): it says so and may be tried again.
    launcher.finish(false);
    EXPECT_TRUE(help->resultLabel()->isVisible());
    EXPECT_TRUE(help->resultLabel()->text().startsWith(QStringLiteral("The account could not be added")));
    EXPECT_TRUE(help->addToGroupButton()->isEnabled());

    click(help->addToGroupButton());
    launcher.finish(true);
    EXPECT_EQ(help->resultLabel()->text(),
              QStringLiteral("Done. Log out and back in so that the change takes effect."));
    EXPECT_FALSE(help->addToGroupButton()->isEnabled());
    EXPECT_EQ(launcher.runs.size(), 2u);
    EXPECT_TRUE(launcher.detached.empty());

    // Back to the window after the message: still outside the group until the next
    // login, and what it said stays.
    help->refresh();
    EXPECT_TRUE(help->resultLabel()->isVisible());

    // Without pkexec only the command is offered.
    launcher.installed.clear();
    QPointer<CameraAccessHelp> closing = help;
    help->close();
    help = open();
    EXPECT_NE(help, closing.data()) << "a closed help is never handed out again";
    EXPECT_EQ(visibleButtons(help), (QStringList{QStringLiteral("Copy"), QStringLiteral("Close")}));
}

TEST_F(CameraHelpTest, InASandboxItOpensTheDesktopsCameraSettingsAndAsksAgain)
{
    facts.sandboxed = true;
    launcher.installed = {QStringLiteral("gnome-control-center")};
    CameraAccessHelp *help = open();
    EXPECT_EQ(help->obstacle(), CameraObstacle::portalRefused);
    EXPECT_EQ(help->titleLabel()->text(), QStringLiteral("Your desktop has not allowed the camera"));
    EXPECT_FALSE(help->commandLabel()->isVisible());
    EXPECT_EQ(visibleButtons(help), (QStringList{QStringLiteral("Close"), QStringLiteral("Ask Again"),
                                                 QStringLiteral("Open Privacy Settings")}));

    click(help->openSettingsButton());
    ASSERT_EQ(launcher.detached.size(), 1u);
    EXPECT_EQ(launcher.detached[0].program, QStringLiteral("gnome-control-center"));
    EXPECT_EQ(launcher.detached[0].arguments, QStringList{QStringLiteral("camera")});
    EXPECT_FALSE(help->resultLabel()->isVisible());

    click(help->askButton());
    ASSERT_EQ(camera.waiting.size(), 1u);
    camera.answer(true);
    EXPECT_TRUE(waitUntil([&] { return help->obstacle() == CameraObstacle::none; }));
    EXPECT_EQ(visibleButtons(help), QStringList{QStringLiteral("OK")});
}

TEST_F(CameraHelpTest, InASandboxWithoutCameraSettingsItExplainsTheReset)
{
    facts.sandboxed = true;
    CameraAccessHelp *help = open();
    EXPECT_TRUE(help->commandIntro()->isVisible());
    EXPECT_TRUE(help->commandIntro()->text().startsWith(QStringLiteral("This desktop has no camera page")));
    EXPECT_EQ(help->commandLabel()->text(),
              QStringLiteral("flatpak permission-reset com.norvane.privacy-shield"));
    EXPECT_EQ(visibleButtons(help),
              (QStringList{QStringLiteral("Copy"), QStringLiteral("Close"), QStringLiteral("Ask Again")}));
}

TEST_F(CameraHelpTest, NoCameraAtAllIsSaidPlainly)
{
    facts.cameraPresent = false;
    camera.current = Status::denied;
    CameraAccessHelp *help = open();
    EXPECT_EQ(help->titleLabel()->text(), QStringLiteral("No camera found"));
    EXPECT_EQ(visibleButtons(help), QStringList{QStringLiteral("OK")});
}

TEST_F(CameraHelpTest, NeverAskedOffersTheQuestionAndOneHelpServesEveryCaller)
{
    CameraAccessHelp *help = open();
    EXPECT_EQ(help->obstacle(), CameraObstacle::notAsked);
    EXPECT_EQ(visibleButtons(help), (QStringList{QStringLiteral("Close"), QStringLiteral("Ask Now")}));
    click(help->askButton());
    EXPECT_EQ(camera.waiting.size(), 1u);

    // The refusal arrives; the help opened again elsewhere is the same window, now explaining it.
    camera.answer(false);
    EXPECT_EQ(CameraAccessHelp::present(context(), nullptr), help);
    EXPECT_EQ(help->obstacle(), CameraObstacle::consentRefused);
    int helps = 0;
    for (QWidget *window : QApplication::topLevelWidgets())
        helps += qobject_cast<CameraAccessHelp *>(window) && window->isVisible();
    EXPECT_EQ(helps, 1);
}

TEST_F(CameraHelpTest, EveryCaseFitsItsTextsInEveryLanguage)
{
    struct Case
    {
        CameraFacts facts;
        Status status;
    };
    const Case cases[] = {
        {{false, true, false, {}}, Status::denied},        {{false, true, true, {}}, Status::denied},
        {{true, true, false, {}}, Status::notDetermined},  {{false, false, false, {}}, Status::denied},
        {{false, true, false, {}}, Status::notDetermined}, {{false, true, false, {}}, Status::authorized}};
    launcher.installed = {QStringLiteral("pkexec")};
    for (const AppLanguage each : AppLanguages::allCases()) {
        const std::string language = AppLanguages::code(each).toStdString();
        L10n::shared().apply(AppLanguages::code(each));
        for (const Case &situation : cases) {
            facts = situation.facts;
            camera.current = situation.status;
            CameraAccessHelp *help = open();
            help->refresh();
            QApplication::processEvents();
            for (auto *label : help->findChildren<QLabel *>()) {
                if (!label->isVisible() || label->text().isEmpty())
                    continue;
                const int needed =
                    label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
                EXPECT_GE(label->height(), needed - 1)
                    << language << " " << label->text().toStdString() << " is cut off";
                EXPECT_LE(label->mapTo(help, QPoint(0, label->height())).y(), help->height());
            }
            for (QPushButton *stray : help->findChildren<QPushButton *>())
                ADD_FAILURE() << "a button outside the control kit: " << stray->text().toStdString();
            QPointer<CameraAccessHelp> closing = help;
            help->close();
            waitUntil([&] { return closing.isNull(); });
        }
    }
}
