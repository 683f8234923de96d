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

#include <algorithm>

namespace veilora {

namespace {

void giveBackdrop(ShieldWindow &window, std::shared_ptr<const FrostedBackdrop> backdrop)
{
    if (window.kind() == ShieldWindow::Kind::overlay)
        static_cast<ShieldOverlayView *>(window.content())->setBackdrop(std::move(backdrop));
    else
        window.setBackdrop(std::move(backdrop));
}

} // namespace

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
    for (const QPointer<ShieldWindow> &window : std::as_const(m_windows))
        delete window.data();
}

QList<QWidget *> PrivacyOverlayController::windows() const
{
    QList<QWidget *> windows;
    if (!m_up)
        return windows;
    for (const QPointer<ShieldWindow> &window : m_windows) {
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
    if (m_up)
        return;
    showWith(FrostedBackdrop::capture(QGuiApplication::screens()));
}

void PrivacyOverlayController::showWith(std::shared_ptr<const FrostedBackdrop> backdrop)
{
    QList<QRect> arrangement;
    for (QScreen *screen : QGuiApplication::screens())
        arrangement.append(screen->geometry());
    if (QScreen *screen = mainScreen())
        arrangement.append(pillGeometry(screen->geometry()));
    const bool intact = std::all_of(m_windows.begin(), m_windows.end(),
                                    [](const QPointer<ShieldWindow> &window) { return !window.isNull(); });
    if (arrangement != m_arrangement || !intact) {
        discardWindows();
        makeWindows(arrangement);
    }
    // Up even without a screen to cover: the windows come with the next screen.
    m_backdrop = std::move(backdrop);
    for (ShieldWindow *window : std::as_const(m_windows)) {
        giveBackdrop(*window, m_backdrop);
        window->show();
    }
    m_up = true;
    m_stack->setWindows(windows());
    m_prompt->reposition();
    post();
}

void PrivacyOverlayController::makeWindows(const QList<QRect> &arrangement)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *screen : screens) {
        auto *window = new ShieldWindow(ShieldWindow::Kind::overlay, new ShieldOverlayView);
        window->setScreen(screen);
        window->setGeometry(screen->geometry());
        m_windows.append(window);
    }
    if (QScreen *screen = mainScreen()) {
        QPointer<PrivacyOverlayController> weak(this);
        auto *pill = new UnlockPillView([weak] {
            if (weak)
                weak->pressPill();
        });
        auto *window = new ShieldWindow(ShieldWindow::Kind::pill, pill);
        window->setScreen(screen);
        window->setGeometry(pillGeometry(screen->geometry()));
        m_windows.append(window);
    }
    m_arrangement = arrangement;
}

void PrivacyOverlayController::hide()
{
    if (!m_up)
        return;
    m_prompt->dismiss();
    takeDown();
}

void PrivacyOverlayController::takeDown()
{
    m_up = false;
    m_stack->setWindows({});
    // Hidden windows keep nothing of what the screens showed.
    for (ShieldWindow *window : std::as_const(m_windows)) {
        if (!window)
            continue;
        window->hide();
        giveBackdrop(*window, nullptr);
    }
    m_backdrop.reset();
    post();
}

void PrivacyOverlayController::discardWindows()
{
    for (const QPointer<ShieldWindow> &window : std::exchange(m_windows, {})) {
        if (window) {
            window->hide();
            window->deleteLater();
        }
    }
    m_arrangement.clear();
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
    if (!m_up) {
        discardWindows(); // the next show makes them for the screens it finds
        return;
    }
    // Frosted before the old windows go: screens the shield already covered keep
    // their frost, new ones are grabbed while still uncovered.
    auto backdrop = FrostedBackdrop::capture(QGuiApplication::screens(), m_backdrop.get());
    takeDown();
    discardWindows();
    showWith(std::move(backdrop));
}

void PrivacyOverlayController::post()
{
    const QString name = QString::fromLatin1(changeNote);
    m_local.post(name);
    m_distributed.post(name);
}

} // namespace veilora
