#include "guard/FaceProfileStore.h"

#include "platform/DistributedNotificationCenter.h"
#include "platform/FilePrivacy.h"
#include "support/TestSupport.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace veilora;
using namespace std::chrono_literals;

namespace {

const std::vector<FeaturePrint> prints{{QStringLiteral("m"), {0.25f, -1.5f, 3.0e-8f}},
                                       {QStringLiteral("m"), {1.0f, 2.0f, 3.0f}}};

QByteArray container(const QCborMap &root)
{
    return QByteArrayLiteral("VLFP\x01") + root.toCborValue().toCbor();
}

void writeRaw(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

class FaceProfileStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QFile::remove(FaceProfileStore::url());
        QFile::remove(FaceProfileStore::legacyURL());
        QObject::connect(&DistributedNotificationCenter::defaultCenter(), &NotificationCenter::delivered,
                         &context, [this](const QString &name) {
                             if (name == QLatin1String(FaceProfileStore::changeNote))
                                 ++changes;
                         });
    }

    bool changeArrives()
    {
        const int before = changes;
        return test::waitUntil([&] { return changes > before; }, 5s);
    }

    QObject context;
    int changes = 0;
};

TEST_F(FaceProfileStoreTest, SavedProfileReadsBackExactlyAndPrivately)
{
    EXPECT_FALSE(FaceProfileStore::load());
    EXPECT_TRUE(QFileInfo(QFileInfo(FaceProfileStore::url()).absolutePath()).isDir())
        << "the folder is made even when there is nothing to read";

    FaceProfileStore::save(prints, 0.123456789012345);
    EXPECT_TRUE(changeArrives());
    const auto profile = FaceProfileStore::load();
    ASSERT_TRUE(profile);
    EXPECT_EQ(profile->prints, prints);
    EXPECT_EQ(profile->threshold, 0.123456789012345);

    const QFileInfo file(FaceProfileStore::url());
    EXPECT_EQ(file.permissions() & 0x0FFF, QFile::ReadUser | QFile::WriteUser);
    EXPECT_EQ(QFileInfo(file.absolutePath()).permissions() & 0x00FF, QFileDevice::Permissions())
        << "biometric data: nobody but the user may list the folder";
}

TEST_F(FaceProfileStoreTest, EarlierLocationIsCopiedOnceAndRestoresAfterDelete)
{
    writeRaw(FaceProfileStore::legacyURL(), encodeFaceProfile(prints, 0.2));
    auto profile = FaceProfileStore::load();
    ASSERT_TRUE(profile);
    EXPECT_EQ(profile->threshold, 0.2);
    EXPECT_TRUE(QFile::exists(FaceProfileStore::url()));
    EXPECT_TRUE(QFile::exists(FaceProfileStore::legacyURL())) << "the earlier file stays";

    FaceProfileStore::save(prints, 0.3);
    EXPECT_EQ(FaceProfileStore::load()->threshold, 0.3) << "once copied, the earlier file is not read";

    FaceProfileStore::deleteProfile();
    EXPECT_TRUE(changeArrives());
    EXPECT_EQ(FaceProfileStore::load()->threshold, 0.2) << "a delete lets the earlier file come back";

    QFile::remove(FaceProfileStore::legacyURL());
    FaceProfileStore::deleteProfile();
    FaceProfileStore::deleteProfile();
    EXPECT_TRUE(changeArrives()) << "deleting nothing still announces it";
    EXPECT_FALSE(FaceProfileStore::load());
}

TEST_F(FaceProfileStoreTest, MalformedContentReadsAsNoProfile)
{
    const QCborMap print{{QLatin1String("model"), QStringLiteral("m")},
                         {QLatin1String("values"), QByteArray(8, '\0')}};
    const QCborValue printArray = QCborArray{print};
    const std::vector<std::pair<const char *, QByteArray>> cases{
        {"empty prints",
         container({{QLatin1String("prints"), QCborArray()}, {QLatin1String("threshold"), 0.2}})},
        {"no threshold", container({{QLatin1String("prints"), printArray}})},
        {"text threshold", container({{QLatin1String("prints"), printArray},
                                      {QLatin1String("threshold"), QStringLiteral("0.2")}})},
        {"prints not an array",
         container({{QLatin1String("prints"), print}, {QLatin1String("threshold"), 0.2}})},
        {"values of odd length",
         container(
             {{QLatin1String("prints"), QCborArray{QCborMap{{QLatin1String("model"), QStringLiteral("m")},
                                                            {QLatin1String("values"), QByteArray(7, '\0')}}}},
              {QLatin1String("threshold"), 0.2}})},
        {"root not a map", QByteArrayLiteral("VLFP\x01") + QCborValue(QCborArray{printArray}).toCbor()},
        {"future version", QByteArrayLiteral("VLFP\x02") + encodeFaceProfile(prints, 0.2).mid(5)},
        {"trailing bytes", encodeFaceProfile(prints, 0.2) + '\0'},
        {"foreign file", QByteArrayLiteral("bplist00\xd4\x01\x02")},
        {"empty file", QByteArray()},
    };
    for (const auto &[name, bytes] : cases) {
        writeRaw(FaceProfileStore::url(), bytes);
        EXPECT_FALSE(FaceProfileStore::load()) << name;
    }
    EXPECT_TRUE(decodeFaceProfile(
        container({{QLatin1String("prints"), printArray}, {QLatin1String("threshold"), 1}})))
        << "an integral threshold is still a number";

    // Every truncation of a valid file, and random bytes behind a valid header.
    const QByteArray valid = encodeFaceProfile(prints, 0.2);
    for (qsizetype length = 0; length < valid.size(); ++length)
        EXPECT_FALSE(decodeFaceProfile(valid.left(length))) << "truncated to " << length;
    auto *random = QRandomGenerator::global();
    for (int round = 0; round < 500; ++round) {
        QByteArray noise(random->bounded(1, 200), Qt::Uninitialized);
        for (char &c : noise)
            c = static_cast<char>(random->bounded(256));
        decodeFaceProfile(QByteArrayLiteral("VLFP\x01") + noise); // must not crash
    }
}

} // namespace
