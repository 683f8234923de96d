#include "PrivacyGuard.h"

#include "guard/DisplayReconfigWatcher.h"
#include "guard/EnrollmentStatistics.h"
#include "guard/ShieldPresenter.h"
#include "platform/Authenticator.h"
#include "platform/CameraAuthorization.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/EventLog.h"
#include "platform/MainThread.h"
#include "platform/UserDefaults.h"
#include "platform/display/DisplayServices.h"

#include <QPointer>

#include <limits>

namespace veilora {

namespace {

const QString enabledKey = QStringLiteral("shieldEnabled");
const QString graceKey = QStringLiteral("shieldGraceSeconds");
const QString debugKey = QStringLiteral("shieldDebug");

void log(const QString &message)
{
    EventLog::write(QStringLiteral("shield: ") + message);
}

} // namespace

PrivacyGuard::PrivacyGuard(Collaborators collaborators, QObject *parent)
    : QObject(parent)
    , m_camera(collaborators.camera)
    , m_overlay(collaborators.overlay)
    , m_authenticator(collaborators.authenticator)
    , m_cameraAuthorization(collaborators.cameraAuthorization)
    , m_displays(collaborators.displays)
    , m_clock(collaborators.clock ? *collaborators.clock : Clock::system())
    , m_unlockReason(std::move(collaborators.unlockReason))
{
    Q_ASSERT(m_camera && m_overlay && m_authenticator && m_cameraAuthorization && m_displays);
    UserDefaults &defaults = UserDefaults::standard();
    m_enabledPref = defaults.boolValue(enabledKey).value_or(false);
    const qint64 grace = defaults.integerValue(graceKey).value_or(0);
    m_graceSeconds =
        grace > 0 && grace <= std::numeric_limits<int>::max() ? static_cast<int>(grace) : defaultGraceSeconds;

    m_selectedCameraID = m_camera->preferredDeviceID().value_or(QString());

    QPointer<PrivacyGuard> weak(this);
    m_camera->onSample = [weak](FaceSample sample) {
        runOnMain(weak, [sample = std::move(sample)](PrivacyGuard *guard) { guard->handleSample(sample); });
    };
    m_camera->onDeviceChange = [weak] {
        runOnMain(weak, [](PrivacyGuard *guard) {
            if (auto id = guard->m_camera->activeDeviceID())
                guard->setSelectedCameraID(*id);
            guard->m_lastPresence = guard->m_clock.now();
            guard->updateLidState();
        });
    };
    m_overlay->onUnlockRequested = [weak] {
        if (weak)
            weak->authenticateAndUnlock();
    };

    connect(m_displays, &DisplayServices::screensDidSleep, this, &PrivacyGuard::screensDidSleep,
            Qt::QueuedConnection);
    connect(m_displays, &DisplayServices::screensDidWake, this, &PrivacyGuard::screensDidWake,
            Qt::QueuedConnection);

    m_reconfigWatcher = DisplayReconfigWatcher::create(
        [weak] { runOnMain(weak, [](PrivacyGuard *guard) { guard->updateLidState(); }); });
    m_reconfigWatcher->start(*m_displays);

    if (defaults.boolValue(debugKey).value_or(false)) {
        DistributedNotificationCenter::defaultCenter().observe(QLatin1String(debugToggleNote), this,
                                                               [this] { setBlur(!m_blurred); });
    }
}

PrivacyGuard::~PrivacyGuard()
{
    // Callbacks set on collaborators outlive the guard only as no-ops.
    m_camera->onSample = nullptr;
    m_camera->onDeviceChange = nullptr;
    m_overlay->onUnlockRequested = nullptr;
}

// ---- Preferences and watching

void PrivacyGuard::bootstrap()
{
    reloadProfile();
    DistributedNotificationCenter::defaultCenter().observe(QLatin1String(FaceProfileStore::changeNote), this,
                                                           [this] { reloadProfile(); });
}

void PrivacyGuard::setEnabled(bool on)
{
    if (m_enabledPref != on) {
        m_enabledPref = on;
        Q_EMIT enabledPrefChanged(on);
    }
    UserDefaults::standard().setBool(enabledKey, on);
    log(QStringLiteral("離席プライバシー: ") + (on ? QStringLiteral("ON") : QStringLiteral("OFF")));
    reconcile();
    LocalNotificationCenter::defaultCenter().post(QLatin1String(stateChangeNote));
}

void PrivacyGuard::setGraceSeconds(int seconds)
{
    if (m_graceSeconds != seconds) {
        m_graceSeconds = seconds;
        Q_EMIT graceSecondsChanged(seconds);
    }
    UserDefaults::standard().setInteger(graceKey, seconds);
    log(QStringLiteral("ブラー猶予: ") + QString::number(seconds) + QStringLiteral("秒"));
}

void PrivacyGuard::requestCameraIfNeeded(std::function<void(bool)> completion)
{
    switch (m_cameraAuthorization->status()) {
    case CameraAuthorization::Status::notDetermined: {
        QPointer<PrivacyGuard> weak(this);
        m_cameraAuthorization->requestAccess([weak, completion = std::move(completion)](bool granted) {
            runOnMain(weak, [granted, completion](PrivacyGuard *guard) {
                guard->setCameraDenied(!granted);
                completion(granted);
            });
        });
        return;
    }
    case CameraAuthorization::Status::authorized:
        setCameraDenied(false);
        completion(true);
        return;
    case CameraAuthorization::Status::denied:
    case CameraAuthorization::Status::restricted:
        setCameraDenied(true);
        completion(false);
        return;
    }
}

void PrivacyGuard::reconcile()
{
    if (m_enabledPref && m_enrolled) {
        if (m_watching)
            return;
        QPointer<PrivacyGuard> weak(this);
        requestCameraIfNeeded([weak](bool granted) {
            // Everything may have changed while the question was open. A plain
            // pointer, read once: GCC cannot see that a QPointer checked once stays set.
            PrivacyGuard *const guard = weak.data();
            if (granted && guard && guard->m_enabledPref && guard->m_enrolled && !guard->m_watching)
                guard->startWatching();
        });
        return;
    }
    if (m_watching) {
        m_watching = false;
        log(QStringLiteral("在席監視 停止"));
    }
    setBlur(false);
    if (!m_enrollPreviewActive)
        m_camera->stop();
}

void PrivacyGuard::startWatching()
{
    m_watching = true;
    m_manualOverride = false;
    m_lastPresence = m_clock.now();
    m_lidSuspended = m_camera->usesBuiltinCamera() && lidClosed();
    if (!m_screensAsleep && !m_lidSuspended)
        m_camera->start();
    log(QStringLiteral("在席監視 開始") +
        (m_lidSuspended ? QStringLiteral(" (蓋閉じのため休止中)") : QString()));
}

// ---- Presence decision

void PrivacyGuard::handleSample(const FaceSample &sample)
{
    if (m_collecting) {
        // A print taken while the exposure still swings is learnt as a face of its
        // own and widens the threshold (figures in bench_recognition).
        if (!sample.settling && !sample.prints.empty())
            m_collected.push_back(sample.prints.front());
        return;
    }
    if (!m_watching || m_screensAsleep || m_lidSuspended || !m_profile)
        return;

    float best = std::numeric_limits<float>::max();
    for (const FeaturePrint &candidate : sample.prints) {
        for (const FeaturePrint &enrolledPrint : m_profile->prints) {
            const auto distance = FeaturePrint::distance(candidate, enrolledPrint);
            if (distance && *distance < best)
                best = *distance;
        }
    }
    const float threshold = static_cast<float>(m_profile->threshold);
    const bool matched = !sample.prints.empty() && best <= threshold;

    const WallTime now = m_clock.now();
    if (sample.faceDetected && secondsBetween(m_lastDistanceLog, now) > faceCheckLogInterval) {
        m_lastDistanceLog = now;
        const double shown = best == std::numeric_limits<float>::max() ? -1.0 : double(best);
        log(QString::asprintf("顔判定: dist=%.3f thr=%.3f %s", shown, m_profile->threshold,
                              matched ? "本人" : "不一致"));
    }

    bool present = false;
    if (matched) {
        m_lastPresence = now;
        m_manualOverride = false;
        setBlur(false);
        present = true;
    } else if (sample.faceDetected && m_manualOverride) {
        m_lastPresence = now;
    }

    if (!m_enrollPreviewActive)
        m_camera->setSampleInterval(present && !m_blurred ? relaxedSampleInterval : alertSampleInterval);

    if (!m_blurred && secondsBetween(m_lastPresence, now) > double(m_graceSeconds)) {
        m_manualOverride = false;
        setBlur(true);
    }
}

void PrivacyGuard::setBlur(bool on)
{
    if (m_blurred == on)
        return;
    m_blurred = on;
    Q_EMIT blurredChanged(on);
    if (on) {
        m_overlay->show();
        log(QStringLiteral("離席検知 → 画面をブラー"));
    } else {
        m_overlay->hide();
        log(QStringLiteral("在席確認 → ブラー解除"));
    }
}

void PrivacyGuard::authenticateAndUnlock()
{
    std::optional<QString> error;
    if (!m_authenticator->canEvaluate(&error)) {
        log(QStringLiteral("ローカル認証を利用できません: ") + error.value_or(QStringLiteral("?")));
        return;
    }
    QPointer<PrivacyGuard> weak(this);
    m_authenticator->evaluate(m_unlockReason ? m_unlockReason() : QString(),
                              [weak](bool success, const std::optional<QString> &) {
                                  if (!success)
                                      return;
                                  runOnMain(weak, [](PrivacyGuard *guard) {
                                      log(QStringLiteral("手動解除 (Touch ID/パスワード)"));
                                      guard->m_manualOverride = true;
                                      guard->m_lastPresence = guard->m_clock.now();
                                      guard->setBlur(false);
                                  });
                              });
}

// ---- Enrollment

void PrivacyGuard::beginEnrollmentPreview()
{
    m_enrollPreviewActive = true;
    QPointer<PrivacyGuard> weak(this);
    requestCameraIfNeeded([weak](bool granted) {
        PrivacyGuard *const guard = weak.data();
        if (!granted || !guard || !guard->m_enrollPreviewActive)
            return;
        guard->m_camera->setSampleInterval(previewSampleInterval);
        guard->m_camera->setPreviewing(true);
        guard->m_camera->start();
    });
}

void PrivacyGuard::endEnrollmentPreview()
{
    m_enrollPreviewActive = false;
    m_collecting = false;
    m_camera->setPreviewing(false);
    m_camera->setSampleInterval(alertSampleInterval);
    reconcile();
}

void PrivacyGuard::captureEnrollment(std::function<void(EnrollOutcome)> done)
{
    m_collected.clear();
    m_collecting = true;
    const WallTime deadline =
        m_clock.now() + std::chrono::microseconds(static_cast<qint64>(captureTimeLimit * 1'000'000));
    pollCapture(deadline, std::move(done));
}

void PrivacyGuard::pollCapture(WallTime deadline, std::function<void(EnrollOutcome)> done)
{
    if (static_cast<int>(m_collected.size()) >= wantedPrints || m_clock.now() >= deadline) {
        finishCapture(std::move(done));
        return;
    }
    // The pause returns to the event loop, which delivers the samples that fill
    // `m_collected` meanwhile.
    m_clock.after(capturePollPause, this, [this, deadline, done = std::move(done)]() mutable {
        pollCapture(deadline, std::move(done));
    });
}

void PrivacyGuard::finishCapture(std::function<void(EnrollOutcome)> done)
{
    std::vector<FeaturePrint> samples = std::move(m_collected);
    m_collected.clear();
    const int count = static_cast<int>(samples.size());
    if (count < minimumPrints) {
        m_collecting = false;
        done(EnrollError::noFace);
        return;
    }
    const EnrollmentStatistics stats = EnrollmentStatistics::of(samples);
    FaceProfileStore::save(samples, stats.threshold);
    m_profile = FaceProfile{std::move(samples), stats.threshold};
    setEnrolled(true);
    log(QString::asprintf("顔登録: samples=%d maxPair=%.3f mean=%.3f thr=%.3f", count, double(stats.maxPair),
                          double(stats.mean), stats.threshold));
    reconcile();
    m_collecting = false;
    done(count);
}

void PrivacyGuard::reloadProfile()
{
    m_profile = FaceProfileStore::load();
    const bool enrolledNow = m_profile.has_value();
    if (enrolledNow != m_enrolled)
        log(QStringLiteral("顔プロファイル同期: ") +
            (enrolledNow ? QStringLiteral("登録済み") : QStringLiteral("未登録")));
    setEnrolled(enrolledNow);
    if (!enrolledNow && m_enabledPref) {
        setEnabled(false);
        return;
    }
    reconcile();
    LocalNotificationCenter::defaultCenter().post(QLatin1String(stateChangeNote));
}

void PrivacyGuard::deleteEnrollment()
{
    FaceProfileStore::deleteProfile();
    m_profile.reset();
    setEnrolled(false);
    if (m_enabledPref)
        setEnabled(false);
    else
        reconcile();
    log(QStringLiteral("顔プロファイル削除"));
}

// ---- Camera choice

void PrivacyGuard::selectCamera(const QString &id)
{
    if (id.isEmpty() || id == m_selectedCameraID)
        return;
    setSelectedCameraID(id);
    m_camera->setDevice(id);
    QPointer<PrivacyGuard> weak(this);
    m_clock.after(lidCheckDelay, this, [weak] {
        if (weak)
            weak->updateLidState();
    });
}

std::vector<CameraOption> PrivacyGuard::cameraOptions() const
{
    return m_camera->availableDevices();
}

// ---- Sleep, lid and displays

bool PrivacyGuard::lidClosed() const
{
    const auto displays = m_displays->activeDisplays(lidDisplayCapacity);
    if (!displays)
        return false;
    for (const ActiveDisplay &display : *displays) {
        if (display.builtin && !display.asleep)
            return false;
    }
    return true;
}

void PrivacyGuard::updateLidState()
{
    if (m_camera->usesBuiltinCamera()) {
        const bool closed = lidClosed();
        if (closed == m_lidSuspended)
            return;
        m_lidSuspended = closed;
        if (!m_watching)
            return;
        if (closed) {
            m_camera->stop();
            setBlur(false);
            log(QStringLiteral("蓋閉じ (内蔵カメラ選択) → 監視休止"));
            return;
        }
    } else {
        if (!m_lidSuspended)
            return;
        m_lidSuspended = false;
        if (!m_watching)
            return;
    }
    resumeAfterLid();
}

void PrivacyGuard::resumeAfterLid()
{
    m_lastPresence = m_clock.now();
    if (!m_screensAsleep)
        m_camera->start();
    log(QStringLiteral("蓋開き → 監視再開"));
}

void PrivacyGuard::screensDidSleep()
{
    m_screensAsleep = true;
    if (!m_watching)
        return;
    m_camera->stop();
    setBlur(false);
    log(QStringLiteral("画面スリープ → 監視休止 (カメラ停止)"));
}

void PrivacyGuard::screensDidWake()
{
    m_screensAsleep = false;
    if (!m_watching)
        return;
    m_lastPresence = m_clock.now();
    if (!m_lidSuspended)
        m_camera->start();
    log(QStringLiteral("画面復帰 → 監視再開"));
}

// ---- Published state

void PrivacyGuard::setEnrolled(bool value)
{
    if (m_enrolled == value)
        return;
    m_enrolled = value;
    Q_EMIT enrolledChanged(value);
}

void PrivacyGuard::setCameraDenied(bool value)
{
    if (m_cameraDenied == value)
        return;
    m_cameraDenied = value;
    Q_EMIT cameraDeniedChanged(value);
}

void PrivacyGuard::setSelectedCameraID(const QString &value)
{
    if (m_selectedCameraID == value)
        return;
    m_selectedCameraID = value;
    Q_EMIT selectedCameraIDChanged(value);
}

} // namespace veilora
