// The keychain on the session's real Secret Service (GNOME Keyring).
#include "CloudTestSupport.h"
#include "platform/SecretServiceStore.h"
#include "platform/VendorServer.h"

#include <QProcess>
#include <QRegularExpression>
#include <QThread>

using namespace veilora;
using namespace veilora::test;

namespace {

const QString key = QStringLiteral("keychainTestKey");

class KeychainTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        VEILORA_REQUIRE_KEYRING();
        Keychain::remove(key);
    }
    void TearDown() override { Keychain::remove(key); }
};

// What another program on the desktop sees in the keyring under our service.
QString lookUpWithSecretTool(const QString &account)
{
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"),
               {QStringLiteral("lookup"), QStringLiteral("service"),
                QString::fromLatin1(SecretServiceStore::serviceName), QStringLiteral("account"), account});
    tool.waitForFinished(10000);
    return QString::fromUtf8(tool.readAllStandardOutput());
}

TEST_F(KeychainTest, StoresReplacesAndDeletesOneStringPerKey)
{
    EXPECT_EQ(Keychain::get(key), std::nullopt);
    Keychain::set(QString(), key);
    EXPECT_EQ(Keychain::get(key), QString()) << "an empty string is a value";
    Keychain::set(QStringLiteral("Zoë 名前 ✓"), key);
    Keychain::set(QStringLiteral("second"), key);
    EXPECT_EQ(Keychain::get(key), QStringLiteral("second"));
    EXPECT_EQ(lookUpWithSecretTool(key), QStringLiteral("second")) << "one item, in the real keyring";
    Keychain::set(std::nullopt, key);
    EXPECT_EQ(Keychain::get(key), std::nullopt);
    Keychain::remove(key); // a missing item: nothing happens
    EXPECT_EQ(Keychain::get(key), std::nullopt);
    Keychain::set(QStringLiteral("Zoë 名前 ✓"), key);
    EXPECT_EQ(Keychain::get(key), QStringLiteral("Zoë 名前 ✓"));
}

TEST_F(KeychainTest, ItemsOfOtherServicesStayInvisible)
{
    SecretServiceStore other(QStringLiteral("com.norvane.Other.cloud"));
    other.set(key, QStringLiteral("theirs"));
    EXPECT_EQ(Keychain::get(key), std::nullopt);
    Keychain::set(QStringLiteral("ours"), key);
    Keychain::remove(key);
    EXPECT_EQ(other.get(key), QStringLiteral("theirs")) << "removing ours leaves theirs";
    other.remove(key);
}

TEST_F(KeychainTest, TheDeviceIdentifierIsMadeOnceAndWorkRunsOffTheGuiThreadInOrder)
{
    const QString device = Keychain::deviceID();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"))
                    .match(device)
                    .hasMatch());
    EXPECT_EQ(Keychain::deviceID(), device);

    QObject owner;
    std::vector<QString> results;
    const QThread *gui = QThread::currentThread();
    for (const QString &value : {QStringLiteral("a"), QStringLiteral("b")}) {
        Keychain::async(
            &owner,
            [value, gui] {
                EXPECT_NE(QThread::currentThread(), gui);
                Keychain::set(value, key);
                return Keychain::get(key).value_or(QString());
            },
            [&results, gui](const QString &read) {
                EXPECT_EQ(QThread::currentThread(), gui);
                results.push_back(read);
            });
    }
    ASSERT_TRUE(waitUntil([&] { return results.size() == 2; }));
    EXPECT_EQ(results, (std::vector<QString>{QStringLiteral("a"), QStringLiteral("b")}));
}

} // namespace

namespace {

TEST(VendorServerTest, OnlyHttpsOriginsOrLoopbackHttpAreServerAddresses)
{
    EXPECT_EQ(VendorServer::parseBaseURL(QStringLiteral("https://sync.example.org/")),
              QUrl(QStringLiteral("https://sync.example.org")));
    EXPECT_EQ(VendorServer::parseBaseURL(QStringLiteral(" https://sync.example.org:8443 ")),
              QUrl(QStringLiteral("https://sync.example.org:8443")));
    for (const char *local : {"http://127.0.0.1:8080", "http://localhost:1", "http://[::1]:9"})
        EXPECT_TRUE(VendorServer::parseBaseURL(QString::fromLatin1(local)).has_value()) << local;
    for (const char *refused :
         {"", "sync.example.org", "http://sync.example.org", "http://10.0.0.1", "ftp://sync.example.org",
          "https://sync.example.org/api", "https://sync.example.org?x=1", "https://user:pw@sync.example.org",
          "https://sync.example.org#top", "javascript:alert(1)", "https://", "file:///etc/passwd"})
        EXPECT_FALSE(VendorServer::parseBaseURL(QString::fromLatin1(refused)).has_value()) << refused;
}

} // namespace
