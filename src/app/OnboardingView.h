#pragma once

#include <QWidget>

#include <chrono>
#include <functional>

class QStackedWidget;
class QTimer;

namespace veilora {

class CameraAuthorization;
class PageDots;
class PermissionChip;
class PillButton;
class PlainButton;
class ToneLabel;
class WaitingDots;

// The three pages of the first start: welcome, camera permission, and how
// enrollment and the blur work. Permission is often granted outside this
// window (the consent question, the desktop's settings, a shell), so the view
// reads it again every second, and the permission page moves on by itself once
// the camera is allowed.
class OnboardingView : public QWidget
{
    Q_OBJECT
public:
    enum Page
    {
        welcome,
        permission,
        tutorial,
    };

    static constexpr std::chrono::milliseconds statusInterval{1000};

    struct Actions
    {
        // Explains what keeps the camera away, over `parent`.
        std::function<void(QWidget *parent)> showCameraHelp;
        // The last page's call to enroll.
        std::function<void()> enroll;
    };

    OnboardingView(CameraAuthorization &camera, Actions actions, QWidget *parent = nullptr);

    Page page() const { return m_page; }
    void showPage(Page page);

    // Asks for the camera while asking can still help; otherwise explains.
    void grant();

    PillButton *welcomeContinueButton() const { return m_welcomeContinue; }
    PillButton *grantButton() const { return m_grant; }
    ToneLabel *grantedLabel() const { return m_granted; }
    PermissionChip *permissionChip() const { return m_chip; }
    PillButton *permissionContinueButton() const { return m_permissionContinue; }
    WaitingDots *waitingDots() const { return m_waitingDots; }
    ToneLabel *waitingLabel() const { return m_waitingLabel; }
    PlainButton *helpButton() const { return m_help; }
    PillButton *enrollButton() const { return m_enroll; }
    PageDots *pageDots() const { return m_dots; }
    QTimer *statusTimer() const { return m_statusTimer; }

Q_SIGNALS:
    void pageChanged(veilora::OnboardingView::Page page);

private:
    QWidget *makeWelcomePage();
    QWidget *makePermissionPage();
    QWidget *makeTutorialPage();
    bool cameraGranted() const;
    void refreshStatus();
    void retranslate();

    CameraAuthorization &m_camera;
    Actions m_actions;
    Page m_page = welcome;
    QStackedWidget *m_pages;
    PageDots *m_dots;
    QTimer *m_statusTimer;

    ToneLabel *m_tagline = nullptr;
    ToneLabel *m_welcomeBody = nullptr;
    PillButton *m_welcomeContinue = nullptr;

    ToneLabel *m_permTitle = nullptr;
    ToneLabel *m_permBody = nullptr;
    PermissionChip *m_chip = nullptr;
    ToneLabel *m_cameraTitle = nullptr;
    ToneLabel *m_cameraWhy = nullptr;
    ToneLabel *m_granted = nullptr;
    PillButton *m_grant = nullptr;
    PillButton *m_permissionContinue = nullptr;
    QWidget *m_waiting = nullptr;
    WaitingDots *m_waitingDots = nullptr;
    ToneLabel *m_waitingLabel = nullptr;
    PlainButton *m_help = nullptr;

    ToneLabel *m_tutTitle = nullptr;
    ToneLabel *m_tutBody = nullptr;
    ToneLabel *m_hints[3] = {};
    PillButton *m_enroll = nullptr;
};

} // namespace veilora
