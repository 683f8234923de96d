#pragma once

#include "app/ShellServices.h"
#include "support/FakeCameraAuthorization.h"

#include <QStringList>

#include <ostream>

// Readable values in test failures.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace veilora::test {

// The guard as a recorder whose published values the test sets.
class RecordingGuard : public shell::Guard
{
public:
    explicit RecordingGuard(QStringList &calls)
        : m_calls(calls)
    {}
    bool enabledPref() const override { return enabled; }
    bool enrolled() const override { return isEnrolled; }
    bool cameraDenied() const override { return denied; }
    int graceSeconds() const override { return grace; }
    void setEnabled(bool on) override
    {
        m_calls << QStringLiteral("guard.setEnabled(%1)").arg(on ? "true" : "false");
        set(on, isEnrolled, denied);
    }
    void setGraceSeconds(int seconds) override
    {
        m_calls << QStringLiteral("guard.setGraceSeconds(%1)").arg(seconds);
        grace = seconds;
        Q_EMIT changed();
    }
    void deleteEnrollment() override
    {
        m_calls << QStringLiteral("guard.deleteEnrollment");
        set(false, false, denied);
    }
    void bootstrap() override { m_calls << QStringLiteral("guard.bootstrap"); }

    // Sets the values as the guard would, announcing the change.
    void set(bool enabledValue, bool enrolledValue, bool deniedValue)
    {
        enabled = enabledValue, isEnrolled = enrolledValue, denied = deniedValue;
        Q_EMIT changed();
    }
    bool enabled = false, isEnrolled = false, denied = false;
    int grace = 10;

private:
    QStringList &m_calls;
};

// The shell's services as recorders: each call is appended to `calls` by name,
// so a test sees what was asked and in which order.
class RecordingServices
{
public:
    ShellServices services()
    {
        const auto record = [this](const char *name) {
            return [this, name] { calls << QLatin1String(name); };
        };
        ShellServices s;
        s.startLocalization = record("l10n.bootstrap");
        s.guard = [this]() -> shell::Guard & {
            if (!std::exchange(guardMade, true))
                calls << QStringLiteral("guard.make");
            return guard;
        };
        s.cameraAuthorization = &camera;
        s.cameraBlockedBySystem = [this] { return cameraBlocked; };
        s.showOnboarding = record("onboarding.show");
        s.startUpdater = record("updater.start");
        s.checkForUpdates = record("updater.check");
        s.startCloudAccount = record("cloudAccount.start");
        s.handleCallback = [this](const QUrl &url) { callbacks.push_back(url); };
        s.startCloudSync = record("cloudSync.start");
        s.subscribeCrashReporter = record("crashReporter.subscribe");
        s.startTesterMode = record("testerMode.start");
        s.showSettings = [this](std::optional<SettingsTab> tab) {
            static const char *names[] = {"general", "permissions", "account", "about"};
            calls << QStringLiteral("settings.show(%1)").arg(tab ? names[int(*tab)] : "last");
        };
        s.quit = record("quit");
        QVariantMap info{{QString::fromLatin1(BundleInfo::shortVersionKey), QStringLiteral("1.0.0")},
                         {QString::fromLatin1(BundleInfo::buildVersionKey), QStringLiteral("7")}};
        if (feedURL)
            info.insert(QString::fromLatin1(BundleInfo::feedURLKey), *feedURL);
        s.bundle = BundleInfo(info);
        return s;
    }

    QStringList calls;
    std::vector<QUrl> callbacks;
    RecordingGuard guard{calls};
    bool guardMade = false; // the first read of the guard creates it
    FakeCameraAuthorization camera;
    bool cameraBlocked = false;
    std::optional<QString> feedURL;
};

} // namespace veilora::test
