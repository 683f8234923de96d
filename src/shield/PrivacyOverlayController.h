#pragma once

#include "FrostedBackdrop.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>

#include <functional>
#include <memory>

class QScreen;
class QWidget;

namespace veilora {

class CredentialPrompt;
class DistributedNotificationCenter;
class LocalNotificationCenter;
class ShieldStack;
class ShieldWindow;
class UnlockPrompt;

// Puts the shield on screen and takes it away: one frosted overlay per screen,
// click-through, in QGuiApplication::screens() order, then the "Unlock" pill on
// the main screen. Rebuilds the set when the screens change while it is up, and
// announces every show and hide ("com.norvane.privacy-shield.changed") in
// process and to other processes. Main thread only.
//
// The windows are made once and then only hidden and shown again, over a frost
// of the screens taken at each show: the moment between the guard's decision and
// a covered screen is then the grab, the map and one paint. A change of screens
// makes a fresh set.
//
// It also hosts the password prompt that authentication asks through
// (`credentialPrompt()`), above the shield.
class PrivacyOverlayController : public QObject
{
    Q_OBJECT

public:
    static constexpr const char *changeNote = "com.norvane.privacy-shield.changed";
    static constexpr QSize pillSize{240, 48};
    static constexpr int pillBottomMargin = 120;
    static constexpr int promptGap = 16;

    // With the application's notification centers.
    explicit PrivacyOverlayController(QObject *parent = nullptr);
    PrivacyOverlayController(LocalNotificationCenter &local, DistributedNotificationCenter &distributed,
                             QObject *parent = nullptr);
    ~PrivacyOverlayController() override;

    void show();
    void hide();

    // Called when the user presses the pill; read at press time.
    std::function<void()> onUnlockRequested;

    bool isUp() const { return m_up; }
    // The shield's windows while it is up: the overlays in screen order, then the pill.
    QList<QWidget *> windows() const;
    CredentialPrompt &credentialPrompt();
    UnlockPrompt &unlockPrompt() { return *m_prompt; }
    ShieldStack &stack() { return *m_stack; }

    // The main screen (the primary one, else the first), or null without screens.
    static QScreen *mainScreen();
    // The pill's window on a main screen with `screen` as its geometry: centred,
    // its lower edge `pillBottomMargin` above the bottom.
    static QRect pillGeometry(const QRect &screen);

private:
    void showWith(std::shared_ptr<const FrostedBackdrop> backdrop);
    void makeWindows(const QList<QRect> &arrangement);
    void takeDown();
    void discardWindows();
    void watchScreen(QScreen *screen);
    void scheduleRebuild();
    void rebuild();
    void pressPill();
    void post();

    LocalNotificationCenter &m_local;
    DistributedNotificationCenter &m_distributed;
    // Made for m_arrangement (each screen's geometry, then the pill's); shown
    // while m_up, else kept hidden for the next show.
    QList<QPointer<ShieldWindow>> m_windows;
    QList<QRect> m_arrangement;
    bool m_up = false;
    std::shared_ptr<const FrostedBackdrop> m_backdrop;
    ShieldStack *m_stack;
    UnlockPrompt *m_prompt;
    bool m_rebuildScheduled = false;
};

} // namespace veilora
