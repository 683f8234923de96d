#include "settings/AppSettings.h"

#include "platform/UserDefaults.h"
#include "platform/XdgAutostartLoginItem.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace veilora;

namespace {

// Runs `work` with standard error going to a file; returns what was written.
QString stderrOf(const std::function<void()> &work)
{
    QTemporaryFile file;
    file.open();
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    work();
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    file.seek(0);
    return QString::fromUtf8(file.readAll());
}

class AppSettingsTest : public ::testing::Test
{
protected:
    QString key(const char *name) const { return QString::fromLatin1(name); }

    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(QStringLiteral("defaults.json"))};
    XdgAutostartLoginItem loginItem{dir.filePath(QStringLiteral("autostart/veilora.desktop"))};
};

TEST_F(AppSettingsTest, FirstStartTakesTheDefaultsAndRegistersAtLogin)
{
    AppSettings settings(defaults, loginItem);
    EXPECT_FALSE(settings.onboardingCompleted());
    EXPECT_TRUE(settings.launchAtLogin());
    EXPECT_EQ(settings.languageCode(), std::nullopt);
    EXPECT_TRUE(settings.crashReportingEnabled());
    EXPECT_EQ(defaults.boolValue(key(AppSettings::launchAtLoginKey)), true);
    EXPECT_TRUE(loginItem.isRegistered());

    settings.setLaunchAtLogin(false);
    EXPECT_FALSE(loginItem.isRegistered());
    EXPECT_EQ(defaults.boolValue(key(AppSettings::launchAtLoginKey)), false);
}

TEST_F(AppSettingsTest, StoredValuesAreReadWithTheirTypeRules)
{
    // The user removed the entry by hand and switched the option off: leave both alone.
    defaults.setBool(key(AppSettings::launchAtLoginKey), false);
    loginItem.setRegistered(true);
    defaults.setString(key(AppSettings::crashReportingEnabledKey), QStringLiteral("no"));
    defaults.setBool(key(AppSettings::onboardingCompletedKey), true);
    defaults.setString(key(AppSettings::languageCodeKey), QStringLiteral("pt-BR"));
    {
        AppSettings settings(defaults, loginItem);
        EXPECT_FALSE(settings.launchAtLogin());
        EXPECT_TRUE(loginItem.isRegistered()) << "construction must not unregister";
        EXPECT_TRUE(settings.crashReportingEnabled()) << "a string reads as the default";
        EXPECT_TRUE(settings.onboardingCompleted());
        EXPECT_EQ(settings.languageCode(), QStringLiteral("pt-BR"));
    }
    // A wrong type is the default value, but not a first start.
    loginItem.setRegistered(false);
    defaults.setInteger(key(AppSettings::launchAtLoginKey), 0);
    AppSettings settings(defaults, loginItem);
    EXPECT_TRUE(settings.launchAtLogin());
    EXPECT_FALSE(loginItem.isRegistered());
}

TEST_F(AppSettingsTest, EveryAssignmentIsAnnouncedAndWrittenThrough)
{
    AppSettings settings(defaults, loginItem);
    QSignalSpy willChange(&settings, &AppSettings::willChange);
    bool valueWhenAnnounced = true;
    QObject::connect(&settings, &AppSettings::willChange,
                     [&] { valueWhenAnnounced = settings.onboardingCompleted(); });

    settings.setOnboardingCompleted(true);
    EXPECT_FALSE(valueWhenAnnounced) << "announced before it takes effect";
    settings.setOnboardingCompleted(true);
    settings.setCrashReportingEnabled(false);
    settings.setLanguageCode(QStringLiteral("de"));
    EXPECT_EQ(willChange.count(), 4);

    UserDefaults elsewhere(defaults.filePath()); // what the next start reads
    EXPECT_EQ(elsewhere.boolValue(key(AppSettings::onboardingCompletedKey)), true);
    EXPECT_EQ(elsewhere.boolValue(key(AppSettings::crashReportingEnabledKey)), false);
    EXPECT_EQ(elsewhere.stringValue(key(AppSettings::languageCodeKey)), QStringLiteral("de"));

    settings.setLanguageCode(std::nullopt);
    EXPECT_FALSE(defaults.contains(key(AppSettings::languageCodeKey)));
    settings.setLanguageCode(QString());
    EXPECT_EQ(settings.languageCode(), std::nullopt);
    EXPECT_FALSE(defaults.contains(key(AppSettings::languageCodeKey)));
}

TEST_F(AppSettingsTest, AFailingRegistrationIsLoggedAndKeepsTheRequestedValue)
{
    // A file where the autostart folder should be: the entry cannot be written.
    QFile blocker(dir.filePath(QStringLiteral("autostart")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    defaults.setBool(key(AppSettings::launchAtLoginKey), false);
    AppSettings settings(defaults, loginItem);

    const QString logged = stderrOf([&] { settings.setLaunchAtLogin(true); });
    EXPECT_TRUE(logged.startsWith(QStringLiteral("Veilora: launch-at-login update failed: ")))
        << logged.toStdString();
    EXPECT_TRUE(settings.launchAtLogin());
    EXPECT_EQ(defaults.boolValue(key(AppSettings::launchAtLoginKey)), true);
}

} // namespace
