#pragma once

#include "guard/FaceProfileStore.h"
#include "guard/GuardCamera.h"
#include "platform/Clock.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace veilora {

class Authenticator;
class CameraAuthorization;
class DisplayReconfigWatcher;
class DisplayServices;
class ShieldPresenter;

enum class EnrollError
{
    noFace
};

// Decides from camera samples whether the enrolled user is at the desk, and covers
// the screens with the shield once they have been away longer than the grace
// delay. Owns protection on/off, the grace delay, the enrolled profile and the
// camera choice. Main thread only; collaborators report back through callbacks
// that hold the guard weakly.
class PrivacyGuard : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool enabledPref READ enabledPref NOTIFY enabledPrefChanged)
    Q_PROPERTY(bool enrolled READ enrolled NOTIFY enrolledChanged)
    Q_PROPERTY(bool blurred READ blurred NOTIFY blurredChanged)
    Q_PROPERTY(bool cameraDenied READ cameraDenied NOTIFY cameraDeniedChanged)
    Q_PROPERTY(int graceSeconds READ graceSeconds NOTIFY graceSecondsChanged)
    Q_PROPERTY(QString selectedCameraID READ selectedCameraID NOTIFY selectedCameraIDChanged)

public:
    static constexpr const char *stateChangeNote = "veilora.stateChanged";
    static constexpr const char *debugToggleNote = "com.norvane.privacy-shield.debug-toggle";

    static constexpr double relaxedSampleInterval = 2.0;
    static constexpr double alertSampleInterval = 0.6;
    static constexpr double previewSampleInterval = 0.3;
    static constexpr double faceCheckLogInterval = 10.0;
    static constexpr int defaultGraceSeconds = 10;
    static constexpr int wantedPrints = 5;
    static constexpr int minimumPrints = 3;
    static constexpr double captureTimeLimit = 10.0;
    static constexpr std::chrono::milliseconds capturePollPause{200};
    static constexpr std::chrono::milliseconds lidCheckDelay{500};
    static constexpr int lidDisplayCapacity = 16;

    // The guard's collaborators; none is owned by it.
    struct Collaborators
    {
        GuardCamera *camera = nullptr;
        ShieldPresenter *overlay = nullptr;
        Authenticator *authenticator = nullptr;
        CameraAuthorization *cameraAuthorization = nullptr;
        DisplayServices *displays = nullptr;
        Clock *clock = nullptr;
        // The sentence the unlock prompt shows, in the interface language of the
        // moment it is asked for.
        std::function<QString()> unlockReason;
    };

    explicit PrivacyGuard(Collaborators collaborators, QObject *parent = nullptr);
    ~PrivacyGuard() override;

    // The application's guard, made with the real camera, shield, authentication
    // and display services on first use. The application defines it, since only
    // it may wire those parts together; tests make their own guards.
    static PrivacyGuard &shared();

    bool enabledPref() const { return m_enabledPref; }
    bool enrolled() const { return m_enrolled; }
    bool blurred() const { return m_blurred; }
    bool cameraDenied() const { return m_cameraDenied; }
    int graceSeconds() const { return m_graceSeconds; }
    QString selectedCameraID() const { return m_selectedCameraID; }

    void bootstrap();
    void setEnabled(bool on);
    void setGraceSeconds(int seconds);

    void handleSample(const FaceSample &sample);
    void setBlur(bool on);
    void authenticateAndUnlock();

    // The preview runs the camera at its own frame rate until it ends.
    void beginEnrollmentPreview();
    void endEnrollmentPreview();
    // Collects prints from the samples that arrive meanwhile, passing over those
    // taken while the camera settles, and stores the profile; `done` receives the
    // number of prints stored or the error.
    using EnrollOutcome = std::variant<int, EnrollError>;
    void captureEnrollment(std::function<void(EnrollOutcome)> done);
    void reloadProfile();
    void deleteEnrollment();

    void selectCamera(const QString &id);
    std::vector<CameraOption> cameraOptions() const;

    void screensDidSleep();
    void screensDidWake();
    void updateLidState();
    bool lidClosed() const;

    // For views and tests that need more than the published state.
    bool isWatching() const { return m_watching; }
    bool isCollecting() const { return m_collecting; }
    bool isLidSuspended() const { return m_lidSuspended; }
    bool manualOverride() const { return m_manualOverride; }
    const std::optional<FaceProfile> &profile() const { return m_profile; }
    GuardCamera &camera() const { return *m_camera; }

Q_SIGNALS:
    void enabledPrefChanged(bool);
    void enrolledChanged(bool);
    void blurredChanged(bool);
    void cameraDeniedChanged(bool);
    void graceSecondsChanged(int);
    void selectedCameraIDChanged(const QString &);

private:
    void reconcile();
    void requestCameraIfNeeded(std::function<void(bool)> completion);
    void startWatching();
    void resumeAfterLid();
    void pollCapture(WallTime deadline, std::function<void(EnrollOutcome)> done);
    void finishCapture(std::function<void(EnrollOutcome)> done);

    void setEnrolled(bool value);
    void setCameraDenied(bool value);
    void setSelectedCameraID(const QString &value);

    GuardCamera *const m_camera;
    ShieldPresenter *const m_overlay;
    Authenticator *const m_authenticator;
    CameraAuthorization *const m_cameraAuthorization;
    DisplayServices *const m_displays;
    Clock &m_clock;
    const std::function<QString()> m_unlockReason;

    bool m_enabledPref = false;
    bool m_enrolled = false;
    bool m_blurred = false;
    bool m_cameraDenied = false;
    int m_graceSeconds = defaultGraceSeconds;
    std::optional<FaceProfile> m_profile;
    bool m_watching = false;
    bool m_screensAsleep = false;
    bool m_lidSuspended = false;
    std::shared_ptr<DisplayReconfigWatcher> m_reconfigWatcher;
    bool m_enrollPreviewActive = false;
    bool m_manualOverride = false;
    WallTime m_lastPresence = distantPast;
    WallTime m_lastDistanceLog = distantPast;
    bool m_collecting = false;
    std::vector<FeaturePrint> m_collected;
    QString m_selectedCameraID;
};

} // namespace veilora
