#include "platform/DesktopEntry.h"
#include "platform/XdgAutostartLoginItem.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

TEST(XdgAutostartLoginItemTest, RegisteringWritesAValidEntryAndUnregisteringRemovesIt)
{
    XdgAutostartLoginItem item;
    EXPECT_EQ(item.entryPath(),
              test::testHome() + QStringLiteral("/config/autostart/com.norvane.privacy-shield.desktop"));
    EXPECT_FALSE(item.isRegistered());
    EXPECT_EQ(item.setRegistered(false), std::nullopt) << "nothing to remove is no failure";

    ASSERT_EQ(item.setRegistered(true), std::nullopt);
    QFile file(item.entryPath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains(
        "\nExec=" + DesktopEntry::execProgram(DesktopEntry::launchProgram()).value_or(QString()).toUtf8() +
        '\n'));
    const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    if (!validator.isEmpty()) {
        QProcess validate;
        validate.start(validator, {item.entryPath()});
        ASSERT_TRUE(validate.waitForFinished());
        EXPECT_EQ(validate.exitCode(), 0) << validate.readAll().toStdString();
    }

    ASSERT_EQ(item.setRegistered(false), std::nullopt);
    EXPECT_FALSE(QFile::exists(item.entryPath()));
}

TEST(XdgAutostartLoginItemTest, ProgramPathsAreQuotedSoLaunchersRunExactlyThem)
{
    using DesktopEntry::execProgram;
    EXPECT_EQ(execProgram(QStringLiteral("/usr/bin/veilora")), QStringLiteral("/usr/bin/veilora"));
    EXPECT_EQ(execProgram(QStringLiteral("/opt/My Apps/veilora")),
              QStringLiteral("\"/opt/My Apps/veilora\""));
    // In the file: '$' and '"' take a backslash that the file's escaping doubles;
    // a backslash becomes four; '%' is doubled.
    EXPECT_EQ(execProgram(QStringLiteral("/a$b\"c\\d%e")), QStringLiteral("\"/a\\\\$b\\\\\"c\\\\\\\\d%%e\""));
    EXPECT_EQ(execProgram(QStringLiteral("/odd\nname")), std::nullopt);

    XdgAutostartLoginItem item(XdgAutostartLoginItem::defaultEntryPath(), QStringLiteral("/odd\nname"));
    const auto error = item.setRegistered(true);
    ASSERT_TRUE(error.has_value());
    EXPECT_FALSE(item.isRegistered());
}

} // namespace
