#include "app/DefaultsCommand.h"

#include "platform/UserDefaults.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

struct Outcome
{
    int code;
    QString out;
    QString err;
};

Outcome run(UserDefaults &defaults, const QStringList &args)
{
    QString out, err;
    QTextStream o(&out), e(&err);
    const int code = runDefaultsCommand(args, defaults, o, e);
    o.flush();
    e.flush();
    return {code, out, err};
}

TEST(DefaultsCommandTest, WritesTypedValuesAndReadsThemBack)
{
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("d.json")));
    EXPECT_EQ(
        run(defaults, {QStringLiteral("write"), QStringLiteral("shieldDebug"), QStringLiteral("true")}).code,
        0);
    EXPECT_EQ(defaults.boolValue(QStringLiteral("shieldDebug")), true);
    run(defaults, {QStringLiteral("write"), QStringLiteral("shieldGraceSeconds"), QStringLiteral("30")});
    EXPECT_EQ(defaults.integerValue(QStringLiteral("shieldGraceSeconds")), 30);
    run(defaults,
        {QStringLiteral("write"), QStringLiteral("code"), QStringLiteral("-string"), QStringLiteral("30")});
    EXPECT_EQ(defaults.stringValue(QStringLiteral("code")), QStringLiteral("30"));
    run(defaults, {QStringLiteral("write"), QStringLiteral("langs"), QStringLiteral("-array"),
                   QStringLiteral("de"), QStringLiteral("en")});
    EXPECT_EQ(defaults.stringListValue(QStringLiteral("langs")),
              (QStringList{QStringLiteral("de"), QStringLiteral("en")}));

    EXPECT_EQ(run(defaults, {QStringLiteral("read"), QStringLiteral("shieldDebug")}).out,
              QStringLiteral("true\n"));
    const Outcome missing = run(defaults, {QStringLiteral("read"), QStringLiteral("nothing")});
    EXPECT_EQ(missing.code, 1);

    EXPECT_EQ(run(defaults, {QStringLiteral("delete"), QStringLiteral("shieldDebug")}).code, 0);
    EXPECT_FALSE(defaults.contains(QStringLiteral("shieldDebug")));
}

TEST(DefaultsCommandTest, RejectsBadInputWithoutWriting)
{
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("d.json")));
    EXPECT_EQ(run(defaults, {QStringLiteral("write"), QStringLiteral("k"), QStringLiteral("-bool"),
                             QStringLiteral("maybe")})
                  .code,
              1);
    EXPECT_EQ(run(defaults, {QStringLiteral("write"), QStringLiteral("k"), QStringLiteral("-int"),
                             QStringLiteral("1.5")})
                  .code,
              1);
    EXPECT_FALSE(defaults.contains(QStringLiteral("k")));
    EXPECT_EQ(run(defaults, {QStringLiteral("frobnicate")}).code, 2);
}

} // namespace
