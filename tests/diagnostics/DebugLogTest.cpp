#include "diagnostics/DebugLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using veilora::DebugLog;

namespace {

class DebugLogTest : public ::testing::Test
{
protected:
    void SetUp() override { QDir(DebugLog::directory()).removeRecursively(); }

    static QString current() { return DebugLog::directory() + QStringLiteral("/tester.log"); }
    static QString previous() { return DebugLog::directory() + QStringLiteral("/tester.log.1"); }

    static void writeFile(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST_F(DebugLogTest, FirstLineCreatesPrivateFolderAndFile)
{
    const QString dir = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/com.norvane.privacy-shield");
    QDir(dir).removeRecursively();
    DebugLog::log(QStringLiteral("shield: 離席プライバシー: ON"));

    ASSERT_TRUE(QFileInfo::exists(dir + QStringLiteral("/tester.log")));
    EXPECT_EQ(QFileInfo(dir).permissions() & 0x0077, 0) << "folder must be private";
    const QFileInfo file(dir + QStringLiteral("/tester.log"));
    EXPECT_EQ(file.permissions(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser |
                                      QFileDevice::WriteUser);
    const QString text = QString::fromUtf8(readFile(file.filePath()));
    EXPECT_TRUE(
        QRegularExpression(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ shield: 離席プライバシー: ON\\n$"))
            .match(text)
            .hasMatch())
        << text.toStdString();
}

TEST_F(DebugLogTest, RotatesOnlyPastTheLimit)
{
    DebugLog::log(QStringLiteral("make folder"));
    writeFile(previous(), "ancient\n");
    writeFile(current(), QByteArray(DebugLog::rotationBytes, 'a'));
    DebugLog::log(QStringLiteral("at limit"));
    EXPECT_EQ(readFile(previous()), "ancient\n") << "exactly 524,288 bytes must not rotate";
    EXPECT_TRUE(readFile(current()).endsWith("at limit\n"));

    writeFile(current(), QByteArray(DebugLog::rotationBytes + 1, 'b'));
    DebugLog::log(QStringLiteral("past limit"));
    EXPECT_EQ(readFile(previous()), QByteArray(DebugLog::rotationBytes + 1, 'b'))
        << "the older generation is lost";
    const QByteArray fresh = readFile(current());
    EXPECT_TRUE(fresh.endsWith(" past limit\n"));
    EXPECT_EQ(fresh.count('\n'), 1);
}

TEST_F(DebugLogTest, TailJoinsGenerationsAndKeepsTheEnd)
{
    EXPECT_EQ(DebugLog::tail(), QString());

    writeFile(previous(), "old line\n");
    EXPECT_EQ(DebugLog::tail(), QStringLiteral("old line\n")) << "only the previous generation present";

    QByteArray big;
    for (int i = 0; big.size() < 300000; ++i)
        big += QByteArray::number(i % 10);
    big.truncate(300000);
    writeFile(current(), big);
    const QString tail = DebugLog::tail();
    EXPECT_EQ(tail.size(), DebugLog::tailCharacters);
    EXPECT_EQ(tail, QString::fromLatin1(big.right(DebugLog::tailCharacters)));

    writeFile(previous(), QByteArray(200000, 'p'));
    writeFile(current(), QByteArray(100000, 'c'));
    const QString joined = DebugLog::tail();
    EXPECT_EQ(joined.size(), DebugLog::tailCharacters);
    EXPECT_TRUE(joined.startsWith(QLatin1Char('p')));
    EXPECT_EQ(joined.count(QLatin1Char('c')), 100000);
}

TEST_F(DebugLogTest, ConcurrentWritersLoseNoLine)
{
    constexpr int threads = 6;
    constexpr int perThread = 400;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t]() {
            for (int i = 0; i < perThread; ++i)
                DebugLog::log(QStringLiteral("writer %1 line %2").arg(t).arg(i));
        });
    }
    for (auto &w : writers)
        w.join();

    const QList<QByteArray> lines = readFile(current()).split('\n');
    int counted = 0;
    QSet<QByteArray> unique;
    for (const QByteArray &line : lines) {
        if (line.isEmpty())
            continue;
        ++counted;
        unique.insert(line.mid(line.indexOf(' ') + 1));
    }
    EXPECT_EQ(counted, threads * perThread);
    EXPECT_EQ(unique.size(), threads * perThread);
}

} // namespace
