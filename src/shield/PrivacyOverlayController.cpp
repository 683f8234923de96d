#include "PrivacyOverlayController.h"

#include "ShieldOverlayView.h"
#include "ShieldStack.h"
#include "ShieldWindow.h"
#include "UnlockPillView.h"
#include "UnlockPrompt.h"
#include "UnlockPromptView.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/NotificationCenter.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

namespace veilora {

PrivacyOverlayController::PrivacyOverlayController(QObject *parent)
    : PrivacyOverlayController(LocalNotificationCenter::defaultCenter(),
                               DistributedNotificationCenter::defaultCenter(), parent)
{}

PrivacyOverlayController::PrivacyOverlayController(LocalNotificationCenter &local,
                                                   DistributedNotificationCenter &distributed,
                                                   QObject *parent)
    : QObject(parent)
    , m_local(local)
    , m_distributed(distributed)
    , m_stack(new ShieldStack(this))
{
    m_prompt = new UnlockPrompt(
        *m_stack,
        [this] {
            const QRect screen = mainScreen() ? mainScreen()->geometry() : QRect(0, 0, 1280, 800);
            const QRect pill = pillGeometry(screen);
            QRect prompt(QPoint(), UnlockPromptView::size);
            prompt.moveCenter(QPoint(pill.center().x(), 0));
            prompt.moveBottom(pill.top() - promptGap);
            return UnlockPrompt::Placement{prompt, m_backdrop};
        },
        this);

    // Every change of the arrangement: screens coming and going, the main one
    // moving, and any screen changing size or place.
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watchScreen(screen);
        scheduleRebuild();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &PrivacyOverlayController::scheduleRebuild);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this,
            &PrivacyOverlayController::scheduleRebuild);
    for (QScreen *screen : QGuiApplication::screens())
        watchScreen(screen);
}

PrivacyOverlayController::~PrivacyOverlayController()
{
    // The prompt first: closing it still talks to the stack.
    delete m_prompt;
    for (const QPointer<QWidget> &window : std::as_const(m_windows))
        delete window.data();
}

QList<QWidget *> PrivacyOverlayController::windows() const
{
    QList<QWidget *> windows;
    for (const QPointer<QWidget> &window : m_windows) {
        if (window)
            windows.append(window);
    }
    return windows;
}

CredentialPrompt &PrivacyOverlayController::credentialPrompt()
{
    return *m_prompt;
}

QScreen *PrivacyOverlayController::mainScreen()
{
    if (QScreen *primary = QGuiApplication::primaryScreen())
        return primary;
    const QList<QScreen *> screens = QGuiApplication::screens();
    return screens.isEmpty() ? nullptr : screens.first();
}

QRect PrivacyOverlayController::pillGeometry(const QRect &screen)
{
    return QRect(screen.x() + screen.width() / 2 - pillSize.width() / 2,
                 screen.y() + screen.height() - pillBottomMargin - pillSize.height(), pillSize.width(),
                 pillSize.height());
}

void PrivacyOverlayController::show()
{
    if (!m_windows.isEmpty())
        return;
    showWith(FrostedBackdrop::capture(QGuiApplication::screens()));
}

void PrivacyOverlayController::showWith(std::shared_ptr<const FrostedBackdrop> backdrop)
{
    m_backdrop = std::move(backdrop);
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *screen : screens) {
        auto *view = new ShieldOverlayView;
        view->setBackdrop(m_backdrop);
        auto *window = new ShieldWindow(ShieldWindow::Kind::overlay, view);
        window->setScreen(screen);
        window->setGeometry(screen->geometry());
        window->show();
        m_windows.append(window);
    }
    if (QScreen *screen = mainScreen()) {
        QPointer<PrivacyOverlayController> weak(this);
        auto *pill = new UnlockPillView([weak] {
            if (weak)
                weak->pressPill();
        });
        auto *window = new ShieldWindow(ShieldWindow::Kind::pill, pill, m_backdrop);
        window->setScreen(screen);
        window->setGeometry(pillGeometry(screen->geometry()));
        window->show();
        m_windows.append(window);
    }
    if (m_windows.isEmpty())
        m_backdrop.reset();
    m_stack->setWindows(windows());
    m_prompt->reposition();
    post();
}

void PrivacyOverlayController::hide()
{
    if (m_windows.isEmpty())
        return;
    m_prompt->dismiss();
    removeWindows();
    m_backdrop.reset();
}

void PrivacyOverlayController::removeWindows()
{
    const QList<QPointer<QWidget>> windows = std::exchange(m_windows, {});
    m_stack->setWindows({});
    for (const QPointer<QWidget> &window : windows) {
        if (window) {
            window->hide();
            window->deleteLater();
        }
    }
    post();
}

void PrivacyOverlayController::pressPill()
{
    // Read now, so a callback set after show() counts; copied, so the callback
    // may replace itself.
    if (m_prompt->isOpen())
        m_prompt->refocus();
    if (auto callback = onUnlockRequested)
        callback();
}

void PrivacyOverlayController::watchScreen(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &PrivacyOverlayController::scheduleRebuild,
            Qt::UniqueConnection);
}

void PrivacyOverlayController::scheduleRebuild()
{
    // A change arrives as a burst (added, primary changed, geometry changed):
    // one rebuild once it has settled, with the screen list then current.
    if (m_rebuildScheduled)
        return;
    m_rebuildScheduled = true;
    QTimer::singleShot(0, this, [this] {
        m_rebuildScheduled = false;
        rebuild();
    });
}

void PrivacyOverlayController::rebuild()
{
    if (m_windows.isEmpty())
        return;
    // Frosted before the old windows go: screens the shield already covered keep
    // their frost, new ones are grabbed while still uncovered.
    auto backdrop = FrostedBackdrop::capture(QGuiApplication::screens(), m_backdrop.get());
    removeWindows();
    showWith(std::move(backdrop));
}

void PrivacyOverlayController::post()
{
    const QString name = QString::fromLatin1(changeNote);
    m_local.post(name);
    m_distributed.post(name);
}

} // namespace veilora
