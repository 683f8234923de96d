#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace veilora {

class LoginItem;
class UserDefaults;

// The application's own preferences (the guard keeps its own): onboarding done,
// start at login, interface language, crash reports. Read once at construction;
// every assignment is written through to the defaults at once, even when the
// value does not change. Main thread only.
class AppSettings : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *onboardingCompletedKey = "onboardingCompleted";
    static constexpr const char *launchAtLoginKey = "launchAtLogin";
    static constexpr const char *languageCodeKey = "languageCode";
    static constexpr const char *crashReportingEnabledKey = "crashReportingEnabled";

    // On a first start (no "launchAtLogin" stored at all) this stores true and
    // registers the login item, so a fresh installation starts at login unasked.
    AppSettings(UserDefaults &defaults, LoginItem &loginItem, QObject *parent = nullptr);

    // Over the standard defaults and the XDG autostart entry; made on first use.
    static AppSettings &shared();

    UserDefaults &defaults() const { return m_defaults; }

    bool onboardingCompleted() const { return m_onboardingCompleted; }
    void setOnboardingCompleted(bool value);

    bool launchAtLogin() const { return m_launchAtLogin; }
    // Also registers or unregisters the login item; a failure goes to the system
    // log and leaves the requested value in place.
    void setLaunchAtLogin(bool value);

    // None: follow the system's language. An empty code counts as none.
    std::optional<QString> languageCode() const { return m_languageCode; }
    void setLanguageCode(const std::optional<QString> &code);

    bool crashReportingEnabled() const { return m_crashReportingEnabled; }
    void setCrashReportingEnabled(bool value);

Q_SIGNALS:
    // Once per assignment, before the new value is stored.
    void willChange();
    // After the new value is stored.
    void changed();

private:
    void applyLaunchAtLogin();

    UserDefaults &m_defaults;
    LoginItem &m_loginItem;
    bool m_onboardingCompleted = false;
    bool m_launchAtLogin = true;
    std::optional<QString> m_languageCode;
    bool m_crashReportingEnabled = true;
};

} // namespace veilora
