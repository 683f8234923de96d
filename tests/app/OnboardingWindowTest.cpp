#include "ShellTestServices.h"
#include "app/OnboardingParts.h"
#include "app/OnboardingWindowController.h"
#include "controls/Palettes.h"
#include "controls/PillButton.h"
#include "localization/AppLanguage.h"
#include "localization/L10n.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/GeneralTab.h"
#include "settings/SettingsRouter.h"
#include "settings/SettingsView.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "settings/ToneLabel.h"
#include "support/FakeCameraAuthorization.h"
#include "support/FakeLoginItem.h"
#include "support/RealInput.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>
#include <thread>

using namespace veilora;
using namespace veilora::test;
using Status = CameraAuthorization::Status;

namespace {

// A window manager for the whole binary, so the window gets a real frame with
// a close button that the tests can click like a person.
[[maybe_unused]] const auto *const windowManager =
    ::testing::AddGlobalTestEnvironment(new WindowManagerEnvironment);

// The frame the window manager put around `window`: left, right, top, bottom.
QList<int> frameExtents(QWidget *window)
{
    QProcess xprop;
    xprop.start(QStringLiteral("xprop"), {QStringLiteral("-id"), QString::number(window->winId()),
                                          QStringLiteral("_NET_FRAME_EXTENTS")});
    xprop.waitForFinished();
    const QString line = QString::fromLatin1(xprop.readAllStandardOutput());
    QList<int> extents;
    for (const QString &part : line.section(u'=', 1).split(u','))
        extents << part.trimmed().toInt();
    return extents;
}

class OnboardingTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        L10n::shared().apply(QStringLiteral("en"));
        QApplication::setPalette(Palettes::light());
        defaults.setBool(QString::fromLatin1(AppSettings::launchAtLoginKey), false);
        camera.current = Status::notDetermined;
    }

    void TearDown() override
    {
        for (QWidget *window : {controller.window(), static_cast<QWidget *>(settingsWindows.window())}) {
            if (QPointer<QWidget> open = window) {
                open->close();
                waitUntil([&] { return open.isNull(); });
            }
        }
        QApplication::setPalette(Palettes::light());
    }

    // Opens the window and waits until it is on screen and active.
    OnboardingView *open()
    {
        controller.show();
        QWidget *window = controller.window();
        EXPECT_NE(window, nullptr);
        if (!window)
            return nullptr;
        EXPECT_TRUE(waitUntil([window] { return window->isActiveWindow(); }));
        return controller.view();
    }

    static void click(QAbstractButton *button)
    {
        ASSERT_TRUE(button->isVisible()) << button->text().toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }

    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(QStringLiteral("defaults.json"))};
    FakeLoginItem loginItem;
    AppSettings settings{defaults, loginItem};
    FakeCameraAuthorization camera;
    std::vector<QWidget *> helpShownOver;

    QStringList calls;
    RecordingGuard guard{calls};
    SettingsRouter router;
    SettingsWindowController settingsWindows{{&guard, &settings, {}}, &router};

    OnboardingWindowController controller{{&settings, &camera,
                                           [this](QWidget *parent) { helpShownOver.push_back(parent); },
                                           [this] { settingsWindows.show(SettingsTab::general); }}};
};

} // namespace

TEST_F(OnboardingTest, TheWindowIsSmallFixedCentredAndOpensOnTheWelcomePage)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    QWidget *window = controller.window();
    EXPECT_EQ(window->size(), QSize(340, 470));
    EXPECT_EQ(window->minimumSize(), window->maximumSize()) << "it cannot be resized";
    const Qt::WindowFlags flags = window->windowFlags();
    EXPECT_TRUE(flags & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(flags & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
    const QPoint centre = QGuiApplication::primaryScreen()->availableGeometry().center();
    EXPECT_LE((window->geometry().center() - centre).manhattanLength(), 40);

    EXPECT_EQ(view->page(), OnboardingView::welcome);
    EXPECT_EQ(view->pageDots()->current(), 0);
    EXPECT_EQ(view->welcomeContinueButton()->text(), QStringLiteral("Continue"));
    EXPECT_EQ(view->welcomeContinueButton()->height(), 36);
    EXPECT_GE(view->welcomeContinueButton()->width(), 280) << "the main action spans the page";

    // Asking again brings the same window forward instead of making a second one.
    controller.show();
    EXPECT_EQ(controller.window(), window);
    EXPECT_EQ(QApplication::topLevelWidgets().count(window), 1);
}

TEST_F(OnboardingTest, ClosingOnTheWelcomePageCompletesOnboardingAtOnce)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    QPointer<QWidget> window = controller.window();
    ASSERT_FALSE(settings.onboardingCompleted());

    // The window manager's close button, clicked where a person would click it.
    const QList<int> frame = frameExtents(window);
    ASSERT_EQ(frame.size(), 4) << "no window manager frame";
    ASSERT_GT(frame[2], 0);
    const QRect outer = window->frameGeometry();
    clickAt({outer.right() - frame[1] - 8, outer.top() + frame[2] / 2});
    EXPECT_TRUE(waitUntil([&] { return settings.onboardingCompleted(); }));
    EXPECT_EQ(defaults.boolValue(QString::fromLatin1(AppSettings::onboardingCompletedKey)), true);
    EXPECT_EQ(controller.window(), nullptr);
    EXPECT_EQ(controller.view(), nullptr);
    EXPECT_TRUE(waitUntil([&] { return window.isNull(); })) << "the view is dropped with its window";
}

TEST_F(OnboardingTest, AnyCloseCountsAndALaterShowStartsAfreshOnTheFirstPage)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    click(view->welcomeContinueButton());
    ASSERT_EQ(view->page(), OnboardingView::permission);

    QPointer<QWidget> window = controller.window();
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
    // At once: no event processing between the key and the check.
    EXPECT_TRUE(settings.onboardingCompleted());
    EXPECT_EQ(controller.window(), nullptr);
    ASSERT_TRUE(waitUntil([&] { return window.isNull(); }));

    view = open();
    ASSERT_NE(view, nullptr);
    EXPECT_NE(controller.window(), nullptr);
    EXPECT_EQ(view->page(), OnboardingView::welcome);
    EXPECT_EQ(view->pageDots()->current(), 0);
}

TEST_F(OnboardingTest, ContinueWithAccessAlreadyGrantedSkipsToTheTutorial)
{
    camera.current = Status::authorized;
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    click(view->welcomeContinueButton());
    EXPECT_EQ(view->page(), OnboardingView::tutorial);
    EXPECT_EQ(view->pageDots()->current(), 2);
    EXPECT_TRUE(view->enrollButton()->isVisible());
    EXPECT_EQ(view->enrollButton()->text(), QStringLiteral("Enroll Your Face"));
    EXPECT_TRUE(camera.waiting.empty()) << "nothing was asked";
}

TEST_F(OnboardingTest, AccessGrantedElsewhereMovesThePermissionPageOnWithinASecond)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    click(view->welcomeContinueButton());
    ASSERT_EQ(view->page(), OnboardingView::permission);
    EXPECT_EQ(view->pageDots()->current(), 1);
    EXPECT_TRUE(view->grantButton()->isVisible());
    EXPECT_FALSE(view->grantedLabel()->isVisible());
    EXPECT_FALSE(view->permissionContinueButton()->isVisible());
    EXPECT_TRUE(view->waitingLabel()->isVisible());
    EXPECT_EQ(view->waitingLabel()->text(),
              QStringLiteral("Waiting for permission — continues automatically"));
    EXPECT_TRUE(view->helpButton()->isVisible());

    // The waiting dots take turns while the page waits.
    WaitingDots *dots = view->waitingDots();
    ASSERT_TRUE(dots->isVisible());
    const int first = dots->highlighted();
    EXPECT_TRUE(waitUntil([&] { return dots->highlighted() != first; }, std::chrono::milliseconds(900)));

    // The consent is given elsewhere (a shell, another window): no input here.
    QElapsedTimer elapsed;
    elapsed.start();
    camera.current = Status::authorized;
    ASSERT_TRUE(waitUntil([&] { return view->page() == OnboardingView::tutorial; }, std::chrono::seconds(3)));
    EXPECT_LE(elapsed.elapsed(), 1500) << "within about a second";
    EXPECT_EQ(view->pageDots()->current(), 2);
    EXPECT_FALSE(dots->timer()->isActive()) << "the dots stop once they are off screen";
}

TEST_F(OnboardingTest, GrantAsksAndTheAnswerFromAnotherThreadShowsTheCameraGranted)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    click(view->welcomeContinueButton());
    // Only the answer's own path is watched here, not the periodic re-read.
    view->statusTimer()->stop();
    EXPECT_EQ(view->permissionChip()->symbolName(), QStringLiteral("camera.fill"));
    click(view->grantButton());
    ASSERT_EQ(camera.waiting.size(), 1u);
    EXPECT_TRUE(helpShownOver.empty());

    camera.current = Status::authorized;
    auto completion = std::move(camera.waiting.front());
    camera.waiting.clear();
    std::thread([&completion] { completion(true); }).join();
    ASSERT_TRUE(waitUntil([&] { return view->grantedLabel()->isVisible(); }));
    EXPECT_EQ(view->grantedLabel()->text(), QStringLiteral("Granted"));
    EXPECT_FALSE(view->grantButton()->isVisible());
    EXPECT_TRUE(view->permissionChip()->granted());
    EXPECT_EQ(view->permissionChip()->symbolName(), QStringLiteral("checkmark"));
    EXPECT_FALSE(view->waitingDots()->isVisible());
    EXPECT_EQ(view->page(), OnboardingView::permission);

    click(view->permissionContinueButton());
    EXPECT_EQ(view->page(), OnboardingView::tutorial);
}

TEST_F(OnboardingTest, ARefusalLeavesThePageWaitingWithTheHelpAtHand)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    click(view->welcomeContinueButton());
    click(view->grantButton());
    ASSERT_EQ(camera.waiting.size(), 1u);
    camera.answer(false);
    processEventsFor(std::chrono::milliseconds(1200));
    EXPECT_EQ(view->page(), OnboardingView::permission);
    EXPECT_TRUE(view->waitingDots()->isVisible());
    EXPECT_TRUE(view->grantButton()->isVisible());

    click(view->helpButton());
    EXPECT_EQ(helpShownOver, std::vector<QWidget *>{controller.window()});
    // After a refusal, asking again is no use: Grant explains too.
    click(view->grantButton());
    EXPECT_TRUE(camera.waiting.empty());
    EXPECT_EQ(helpShownOver.size(), 2u);
    EXPECT_FALSE(settings.onboardingCompleted());
}

TEST_F(OnboardingTest, EnrollClosesTheWindowAndOpensTheSettingsOnGeneral)
{
    router.setSelectedTab(SettingsTab::about);
    camera.current = Status::authorized;
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    QPointer<QWidget> window = controller.window();
    click(view->welcomeContinueButton());
    click(view->enrollButton());

    EXPECT_TRUE(settings.onboardingCompleted());
    EXPECT_EQ(controller.window(), nullptr);
    EXPECT_TRUE(waitUntil([&] { return window.isNull(); }));
    SettingsWindow *settingsWindow = settingsWindows.window();
    ASSERT_NE(settingsWindow, nullptr);
    EXPECT_TRUE(waitUntil([&] { return settingsWindow->isActiveWindow(); }));
    EXPECT_EQ(router.selectedTab(), SettingsTab::general);
    EXPECT_NE(qobject_cast<GeneralTab *>(settingsWindow->view()->tabView()), nullptr);
}

TEST_F(OnboardingTest, TheWindowFollowsTheLanguageAndTheDesktopsDarkness)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    QWidget *window = controller.window();
    const auto cornerLightness = [window] {
        const QImage shot = window->grab().toImage();
        return QColor(shot.pixel(4, shot.height() - 4)).lightness();
    };
    EXPECT_GT(cornerLightness(), 200);

    QApplication::setPalette(Palettes::dark());
    EXPECT_TRUE(waitUntil([&] { return cornerLightness() < 70; }));
    ToneLabel *anyLabel = window->findChild<ToneLabel *>();
    ASSERT_NE(anyLabel, nullptr);
    EXPECT_GT(anyLabel->palette().color(QPalette::WindowText).lightness(), 150);

    L10n::shared().apply(QStringLiteral("de"));
    EXPECT_EQ(view->welcomeContinueButton()->text(), QStringLiteral("Weiter"));
    L10n::shared().apply(QStringLiteral("en"));
}

TEST_F(OnboardingTest, EveryPageFitsItsTextsInEveryLanguage)
{
    OnboardingView *view = open();
    ASSERT_NE(view, nullptr);
    QWidget *window = controller.window();
    for (const AppLanguage language : AppLanguages::allCases()) {
        const std::string code = AppLanguages::code(language).toStdString();
        L10n::shared().apply(AppLanguages::code(language));
        for (const OnboardingView::Page page :
             {OnboardingView::welcome, OnboardingView::permission, OnboardingView::tutorial}) {
            view->showPage(page);
            processEventsFor(std::chrono::milliseconds(20));
            const auto where = [&](QWidget *widget) {
                return code + " page " + std::to_string(int(page)) + " " + widget->metaObject()->className();
            };
            int lowestText = 0;
            for (QWidget *widget : window->findChildren<QWidget *>()) {
                auto *label = qobject_cast<QLabel *>(widget);
                auto *button = qobject_cast<QAbstractButton *>(widget);
                if (!widget->isVisible() || (!label && !button))
                    continue;
                const QRect box(widget->mapTo(window, QPoint(0, 0)), widget->size());
                EXPECT_TRUE(window->rect().contains(box)) << where(widget);
                if (widget->hasHeightForWidth())
                    EXPECT_GE(widget->height(), widget->heightForWidth(widget->width()) - 1) << where(widget);
                else
                    EXPECT_GE(widget->width(), widget->sizeHint().width()) << where(widget) << " is cut off";
                if (label)
                    lowestText = std::max(lowestText, box.bottom());
            }
            QAbstractButton *primary = view->enrollButton();
            if (page == OnboardingView::welcome)
                primary = view->welcomeContinueButton();
            else if (page == OnboardingView::permission)
                primary = view->helpButton();
            EXPECT_LT(primary->mapTo(window, QPoint(0, 0)).y(), window->height() - 20) << code;
            if (page != OnboardingView::permission) {
                EXPECT_LT(lowestText, primary->mapTo(window, QPoint(0, 0)).y())
                    << code << " page " << int(page) << ": the texts run into the button";
            }
        }
    }
    L10n::shared().apply(QStringLiteral("en"));
}
