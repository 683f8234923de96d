#pragma once

#include "app/OnboardingView.h"

#include <QObject>
#include <QPointer>
#include <QSize>

#include <functional>

namespace veilora {

class AppSettings;
class CameraAuthorization;

// What the first-start window works with, handed in by the application (or a test).
struct OnboardingServices
{
    AppSettings *settings = nullptr;
    CameraAuthorization *cameraAuthorization = nullptr;
    std::function<void(QWidget *parent)> showCameraHelp;
    // Opens the settings window on General, where enrollment starts.
    std::function<void()> showGeneralSettings;

    bool isComplete() const { return settings && cameraAuthorization; }
};

// The first-start window: a small fixed window around an OnboardingView. It
// is shown once; closing it in any way (its close button, a shortcut, the
// last page's call to enroll) counts as done at once, so later starts skip it.
// The window exists only while open: the next show() builds it afresh on the
// first page. Main thread only.
class OnboardingWindowController : public QObject
{
    Q_OBJECT
public:
    static constexpr QSize windowSize{340, 470};

    explicit OnboardingWindowController(OnboardingServices services = {}, QObject *parent = nullptr);
    // Takes an open window with it, without counting that as done.
    ~OnboardingWindowController() override;

    // The application hands in its services with setServices() before show().
    static OnboardingWindowController &shared();
    void setServices(OnboardingServices services);

    // Opens the window centred on the screen under the pointer, or brings the
    // open one forward.
    void show();

    // The open window and its view, or null.
    QWidget *window() const { return m_window; }
    OnboardingView *view() const { return m_view; }

private:
    void finish();
    void enroll();

    OnboardingServices m_services;
    QPointer<QWidget> m_window;
    QPointer<OnboardingView> m_view;
};

} // namespace veilora
