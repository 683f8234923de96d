#include "platform/UrlSchemeRegistration.h"

#include "platform/DesktopEntry.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

std::optional<bool> registerNow()
{
    std::optional<bool> outcome;
    UrlSchemeRegistration::ensureRegistered([&](bool registered) { outcome = registered; });
    test::waitUntil([&] { return outcome.has_value(); }, std::chrono::seconds(30));
    return outcome;
}

TEST(UrlSchemeRegistrationTest, MakesThisProgramTheHandlerOfItsLinks)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xdg-mime")).isEmpty()) {
        if (test::inTestSession())
            FAIL() << "xdg-mime is missing (xdg-utils)";
        GTEST_SKIP() << "needs xdg-mime";
    }
    // Only this test's own folders count, not what the machine has installed.
    const QString system = test::testHome() + QStringLiteral("/system");
    qputenv("XDG_DATA_DIRS", system.toUtf8());

    EXPECT_FALSE(UrlSchemeRegistration::isDefaultHandler());
    ASSERT_EQ(registerNow(), true);
    EXPECT_TRUE(UrlSchemeRegistration::isDefaultHandler());
    QFile entry(UrlSchemeRegistration::userEntryPath());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly)) << "no installed entry, so one is written";
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=") +
                              *DesktopEntry::execProgram(DesktopEntry::launchProgram()) +
                              QStringLiteral(" %u\n")));
    EXPECT_TRUE(text.contains(QStringLiteral("\nMimeType=x-scheme-handler/veilora;\n")));
    entry.close();

    // Once a package installs the entry, the written one steps aside.
    QDir().mkpath(system + QStringLiteral("/applications"));
    QFile installed(system + QStringLiteral("/applications/veilora.desktop"));
    ASSERT_TRUE(installed.open(QIODevice::WriteOnly));
    installed.write(text.toUtf8().replace("X-Veilora-Generated=true\n", ""));
    installed.close();
    ASSERT_EQ(registerNow(), true);
    EXPECT_FALSE(QFile::exists(UrlSchemeRegistration::userEntryPath()));
    EXPECT_TRUE(UrlSchemeRegistration::isDefaultHandler());
}

} // namespace
