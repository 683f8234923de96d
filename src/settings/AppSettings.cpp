#include "AppSettings.h"

#include "platform/LoginItem.h"
#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"
#include "platform/XdgAutostartLoginItem.h"

namespace veilora {

namespace {

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

} // namespace

AppSettings::AppSettings(UserDefaults &defaults, LoginItem &loginItem, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_loginItem(loginItem)
{
    m_onboardingCompleted = m_defaults.boolValue(key(onboardingCompletedKey)).value_or(false);
    // A value of another type reads as the default, but only a missing key is a first start.
    const bool firstStart = !m_defaults.contains(key(launchAtLoginKey));
    m_launchAtLogin = m_defaults.boolValue(key(launchAtLoginKey)).value_or(true);
    m_languageCode = m_defaults.stringValue(key(languageCodeKey));
    m_crashReportingEnabled = m_defaults.boolValue(key(crashReportingEnabledKey)).value_or(true);
    if (firstStart) {
        m_defaults.setBool(key(launchAtLoginKey), true);
        applyLaunchAtLogin();
    }
}

AppSettings &AppSettings::shared()
{
    static XdgAutostartLoginItem loginItem;
    static AppSettings settings(UserDefaults::standard(), loginItem);
    return settings;
}

void AppSettings::setOnboardingCompleted(bool value)
{
    Q_EMIT willChange();
    m_onboardingCompleted = value;
    m_defaults.setBool(key(onboardingCompletedKey), value);
    Q_EMIT changed();
}

void AppSettings::setLaunchAtLogin(bool value)
{
    Q_EMIT willChange();
    m_launchAtLogin = value;
    m_defaults.setBool(key(launchAtLoginKey), value);
    applyLaunchAtLogin();
    Q_EMIT changed();
}

void AppSettings::setLanguageCode(const std::optional<QString> &code)
{
    Q_EMIT willChange();
    if (code && !code->isEmpty()) {
        m_languageCode = code;
        m_defaults.setString(key(languageCodeKey), *code);
    } else {
        m_languageCode.reset();
        m_defaults.remove(key(languageCodeKey));
    }
    Q_EMIT changed();
}

void AppSettings::setCrashReportingEnabled(bool value)
{
    Q_EMIT willChange();
    m_crashReportingEnabled = value;
    m_defaults.setBool(key(crashReportingEnabledKey), value);
    Q_EMIT changed();
}

void AppSettings::applyLaunchAtLogin()
{
    if (const auto error = m_loginItem.setRegistered(m_launchAtLogin))
        SystemLog::warning(QStringLiteral("Veilora: launch-at-login update failed: ") + *error);
}

} // namespace veilora
