#include "platform/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using veilora::UserDefaults;

namespace {

class UserDefaultsTest : public ::testing::Test
{
protected:
    QTemporaryDir dir;
    QString path() const { return dir.path() + QStringLiteral("/veilora/defaults.json"); }
};

TEST_F(UserDefaultsTest, ValuesKeepTheirTypeAcrossProcesses)
{
    const QDateTime when =
        QDateTime::fromString(QStringLiteral("2026-11-16T20:52:33.250Z"), Qt::ISODateWithMs);
    {
        UserDefaults defaults(path());
        defaults.setBool(QStringLiteral("shieldEnabled"), true);
        defaults.setInteger(QStringLiteral("shieldGraceSeconds"), 20);
        defaults.setInteger(QStringLiteral("big"), Q_INT64_C(9007199254740993)); // 2^53 + 1
        defaults.setDouble(QStringLiteral("ratio"), 0.1);
        defaults.setString(QStringLiteral("languageCode"), QStringLiteral("pt-BR"));
        defaults.setDate(QStringLiteral("lastCheck"), when);
        defaults.setStringList(QStringLiteral("AppleLanguages"), {QStringLiteral("de")});
    }
    UserDefaults reread(path()); // what another process sees at its next start
    EXPECT_EQ(reread.boolValue(QStringLiteral("shieldEnabled")), true);
    EXPECT_EQ(reread.integerValue(QStringLiteral("shieldGraceSeconds")), 20);
    EXPECT_EQ(reread.integerValue(QStringLiteral("big")), Q_INT64_C(9007199254740993));
    EXPECT_EQ(reread.doubleValue(QStringLiteral("ratio")), 0.1);
    EXPECT_EQ(reread.stringValue(QStringLiteral("languageCode")), QStringLiteral("pt-BR"));
    EXPECT_EQ(reread.dateValue(QStringLiteral("lastCheck")), when);
    EXPECT_EQ(reread.stringListValue(QStringLiteral("AppleLanguages")), QStringList{QStringLiteral("de")});
    EXPECT_EQ(reread.keys().size(), 7);
}

TEST_F(UserDefaultsTest, WrongTypeReadsAsNoValue)
{
    UserDefaults defaults(path());
    defaults.setString(QStringLiteral("crashReportingEnabled"), QStringLiteral("true"));
    EXPECT_TRUE(defaults.contains(QStringLiteral("crashReportingEnabled")));
    EXPECT_EQ(defaults.boolValue(QStringLiteral("crashReportingEnabled")), std::nullopt)
        << "a string under a Boolean key is not a Boolean";
    EXPECT_EQ(defaults.integerValue(QStringLiteral("crashReportingEnabled")), std::nullopt);

    defaults.setDouble(QStringLiteral("shieldGraceSeconds"), 20.0);
    EXPECT_EQ(defaults.integerValue(QStringLiteral("shieldGraceSeconds")), std::nullopt);
    defaults.setInteger(QStringLiteral("n"), 3);
    EXPECT_EQ(defaults.doubleValue(QStringLiteral("n")), 3.0);
    EXPECT_EQ(defaults.boolValue(QStringLiteral("missing")), std::nullopt);

    EXPECT_FALSE(defaults.setObject(QStringLiteral("x"), QVariant(QByteArray("raw"))));
    EXPECT_FALSE(defaults.contains(QStringLiteral("x")));
}

TEST_F(UserDefaultsTest, RemoveWritesThroughAndFileIsPrivate)
{
    UserDefaults defaults(path());
    defaults.setBool(QStringLiteral("a"), true);
    defaults.setBool(QStringLiteral("b"), false);
    defaults.remove(QStringLiteral("a"));
    EXPECT_FALSE(defaults.contains(QStringLiteral("a")));
    EXPECT_FALSE(UserDefaults(path()).contains(QStringLiteral("a")));
    EXPECT_EQ(UserDefaults(path()).boolValue(QStringLiteral("b")), false);

    EXPECT_EQ(QFileInfo(path()).permissions() & 0x0077, 0);
    EXPECT_EQ(QFileInfo(QFileInfo(path()).absolutePath()).permissions() & 0x0077, 0);
    EXPECT_EQ(QDir(QFileInfo(path()).absolutePath())
                  .entryList(QDir::Files | QDir::Hidden)
                  .filter(QStringLiteral("defaults.json")),
              QStringList{QStringLiteral("defaults.json")})
        << "no temporary file left behind";
}

TEST_F(UserDefaultsTest, WriteKeepsAnotherProcessesChanges)
{
    UserDefaults app(path());
    app.setBool(QStringLiteral("shieldEnabled"), true);
    UserDefaults tool(path()); // e.g. `veilora --defaults write shieldDebug true` while the app runs
    tool.setBool(QStringLiteral("shieldDebug"), true);
    app.setInteger(QStringLiteral("shieldGraceSeconds"), 30);

    UserDefaults reread(path());
    EXPECT_EQ(reread.boolValue(QStringLiteral("shieldDebug")), true);
    EXPECT_EQ(reread.boolValue(QStringLiteral("shieldEnabled")), true);
    EXPECT_EQ(reread.integerValue(QStringLiteral("shieldGraceSeconds")), 30);
}

TEST_F(UserDefaultsTest, DamagedFileIsSetAsideNotLost)
{
    QDir().mkpath(QFileInfo(path()).absolutePath());
    const QByteArray garbage = "{\"format\": \"veilora-defaults\", \"values\": {\"a\": tru";
    {
        QFile f(path());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(garbage);
    }
    UserDefaults defaults(path());
    EXPECT_TRUE(defaults.keys().isEmpty());
    defaults.setBool(QStringLiteral("shieldEnabled"), true);
    EXPECT_EQ(UserDefaults(path()).boolValue(QStringLiteral("shieldEnabled")), true);

    const QStringList aside =
        QDir(QFileInfo(path()).absolutePath()).entryList({QStringLiteral("defaults.json.corrupt-*")});
    ASSERT_EQ(aside.size(), 1);
    QFile kept(QFileInfo(path()).absolutePath() + QLatin1Char('/') + aside.first());
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), garbage);
}

TEST_F(UserDefaultsTest, EntriesOfUnknownTypeSurviveRewrites)
{
    QDir().mkpath(QFileInfo(path()).absolutePath());
    {
        QFile f(path());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(R"({"format":"veilora-defaults","version":2,"values":{
            "future":{"type":"color","value":"#ff0000"},
            "shieldEnabled":{"type":"bool","value":"yes"}}})");
    }
    UserDefaults defaults(path());
    EXPECT_FALSE(defaults.contains(QStringLiteral("future")));
    EXPECT_EQ(defaults.boolValue(QStringLiteral("shieldEnabled")), std::nullopt);
    defaults.setInteger(QStringLiteral("other"), 1);

    QFile f(path());
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray text = f.readAll();
    EXPECT_TRUE(text.contains("#ff0000"));
    EXPECT_TRUE(text.contains("\"other\""));
}

} // namespace
