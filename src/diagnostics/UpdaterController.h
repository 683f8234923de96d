#pragma once

#include "UpdateWindow.h"
#include "UpdaterSession.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

namespace veilora {

class UpdatePackageInstaller;
class UserDefaults;

// The application's updater: the three operations the rest of the application
// uses (check now, read and change the automatic-check setting) over an
// UpdaterSession, with its own windows and a once-a-day background check.
// Main thread only.
class UpdaterController : public QObject
{
    Q_OBJECT

public:
    static constexpr const char *automaticChecksKey = "SUEnableAutomaticChecks";
    static constexpr const char *lastCheckTimeKey = "SULastCheckTime";
    static constexpr std::chrono::hours checkInterval{24};
    // After start, so the first check does not compete with the application's own start.
    static constexpr std::chrono::seconds firstCheckDelay{60};

    struct Configuration
    {
        UpdaterSession::Configuration session;
        QString runningVersion; // shown to people
        UserDefaults *defaults = nullptr;
        UpdatePackageInstaller *installer = nullptr;
    };

    explicit UpdaterController(Configuration configuration, QObject *parent = nullptr);
    ~UpdaterController() override;

    // Whether this build has an update feed ("SUFeedURL"); without one the
    // updater must not be created.
    static bool isConfigured();
    // Made on first use from the build's information and the user's defaults.
    static UpdaterController &shared();

    // Schedules the automatic checks (when on). Once.
    void start();
    // A check a person asked for: shows every step, errors included.
    void checkForUpdates();
    // What the daily timer runs: a window only when there is an update.
    void checkInBackground();

    bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool enabled);
    std::optional<QDateTime> lastCheckTime() const;

    // How long after `now` the next automatic check is due.
    static std::chrono::milliseconds delayUntilNextCheck(const std::optional<QDateTime> &lastCheck,
                                                         const QDateTime &now);
    // The delay the pending automatic check was scheduled with; nothing when none is.
    std::optional<std::chrono::milliseconds> scheduledCheckIn() const;

    UpdateWindow *window() const { return m_window; }
    UpdaterSession &session() { return *m_session; }

Q_SIGNALS:
    // A background check ended, with or without an update shown.
    void automaticCheckFinished();

private:
    void runCheck(bool userInitiated);
    void scheduleNextCheck();
    UpdateWindow &ensureWindow();
    void presentWindow();
    void endSession();

    const Configuration m_configuration;
    UpdaterSession *m_session;
    QPointer<UpdateWindow> m_window;
    QTimer m_timer;
    bool m_started = false;
    bool m_userInitiated = false;
    std::optional<AppcastItem> m_offered;
    QString m_packagePath;
};

} // namespace veilora
