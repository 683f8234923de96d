// The updater: reading feeds, ordering versions, and whole updates against the
// real server's feed area, driven through the update window's own buttons.
#include "diagnostics/Appcast.h"
#include "diagnostics/UpdatePackageInstaller.h"
#include "diagnostics/UpdatePackageVerifier.h"
#include "diagnostics/UpdateWindow.h"
#include "diagnostics/UpdaterController.h"
#include "platform/UserDefaults.h"
#include "support/FakePackageInstaller.h"
#include "support/TestServer.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>
#include <memory>
#include <sodium.h>

using namespace veilora;
using namespace veilora::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// ---- Reading feeds -------------------------------------------------------

const QByteArray severalItems = R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"
     xmlns:dc="http://purl.org/dc/elements/1.1/">
  <channel>
    <title>Veilora Changelog</title>
    <language>en</language>
    <item>
      <title>Version 1.2</title>
      <sparkle:version>120</sparkle:version>
      <sparkle:shortVersionString>1.2</sparkle:shortVersionString>
      <sparkle:releaseNotesLink>https://example.org/notes/1.2.html</sparkle:releaseNotesLink>
      <sparkle:minimumSystemVersion>10.0</sparkle:minimumSystemVersion>
      <dc:creator>someone</dc:creator>
      <future><nested attr="x">text</nested></future>
      <enclosure url="https://example.org/feed/veilora_1.2.deb" length="3145728"
                 type="application/vnd.debian.binary-package" sparkle:edSignature="c2lnMTIw"/>
    </item>
    <item>
      <title>Old style</title>
      <description><![CDATA[<h2>Fixed</h2><p>Things</p>]]></description>
      <enclosure url="https://example.org/feed/veilora_1.1.deb" length="10" type="x"
                 sparkle:version="110" sparkle:shortVersionString="1.1" sparkle:edSignature="c2lnMTEw"/>
    </item>
    <item>
      <title>Announcement without a package</title>
      <sparkle:version>999</sparkle:version>
    </item>
  </channel>
</rss>
)";

TEST(Appcast, ReadsItemsWhateverElseTheFeedCarries)
{
    QString error;
    const auto appcast = parseAppcast(severalItems, &error);
    ASSERT_TRUE(appcast) << error.toStdString();
    EXPECT_EQ(appcast->title, u"Veilora Changelog"_s);
    ASSERT_EQ(appcast->items.size(), 3);

    const AppcastItem &newest = appcast->items[0];
    EXPECT_EQ(newest.title, u"Version 1.2"_s);
    EXPECT_EQ(newest.version, u"120"_s);
    EXPECT_EQ(newest.displayVersion(), u"1.2"_s);
    EXPECT_EQ(newest.releaseNotesLink, QUrl(u"https://example.org/notes/1.2.html"_s));
    EXPECT_EQ(newest.url, QUrl(u"https://example.org/feed/veilora_1.2.deb"_s));
    EXPECT_EQ(newest.length, 3145728);
    EXPECT_EQ(newest.type, u"application/vnd.debian.binary-package"_s);
    EXPECT_EQ(newest.edSignature, u"c2lnMTIw"_s);

    // Versions given on the enclosure, as older feeds do, and inline notes.
    const AppcastItem &older = appcast->items[1];
    EXPECT_EQ(older.version, u"110"_s);
    EXPECT_EQ(older.displayVersion(), u"1.1"_s);
    EXPECT_EQ(older.description, u"<h2>Fixed</h2><p>Things</p>"_s);

    EXPECT_FALSE(appcast->items[2].url.isValid());
    // The announcement has the highest number but nothing to install.
    EXPECT_EQ(newestApplicable(appcast->items, u"100"_s)->version, u"120"_s);
}

TEST(Appcast, RefusesWhatIsNotAFeedAndSaysWhy)
{
    const QList<QByteArray> broken = {
        "",
        "<rss><channel><item><title>unclosed</item></channel></rss>",
        "<rss><channel></channel></rss><trailing/>",
        "<html><body>502 Bad Gateway</body></html>",
        "<rss version=\"2.0\"></rss>",
        "<rss><channel><item><enclosure url=\"https://x/y\" length=\"1\" "
        "x:bad=\"1\"/></item></channel></rss>",
    };
    for (const QByteArray &xml : broken) {
        QString error;
        EXPECT_FALSE(parseAppcast(xml, &error)) << xml.toStdString();
        EXPECT_FALSE(error.isEmpty()) << xml.toStdString();
    }
}

TEST(Appcast, OrdersVersionsPartByPart)
{
    const std::pair<const char *, const char *> older[] = {
        {"1.9", "1.10"},    {"1", "2"},          {"99", "100"},      {"1.0", "1.0.1"},
        {"1.0b1", "1.0"},   {"2.0b9", "2.0b10"}, {"1.0a2", "1.0b1"}, {"9", "18446744073709551617"},
        {"1.0b2", "1.0.1"}, {"007", "8"},
    };
    for (const auto &[a, b] : older) {
        EXPECT_LT(compareVersions(QString::fromLatin1(a), QString::fromLatin1(b)), 0) << a << " < " << b;
        EXPECT_GT(compareVersions(QString::fromLatin1(b), QString::fromLatin1(a)), 0) << b << " > " << a;
    }
    EXPECT_EQ(compareVersions(u"1.2.3"_s, u"1.2.3"_s), 0);
    EXPECT_EQ(compareVersions(u"010"_s, u"10"_s), 0);
}

TEST(Appcast, OffersOnlyANewerReleaseThisComputerCanInstall)
{
    const auto item = [](const char *version, const char *os = "", const char *channel = "") {
        AppcastItem made;
        made.version = QString::fromLatin1(version);
        made.url = QUrl(u"https://example.org/p.deb"_s);
        made.os = QString::fromLatin1(os);
        made.channel = QString::fromLatin1(channel);
        return made;
    };
    EXPECT_FALSE(newestApplicable({item("5"), item("4")}, u"5"_s)) << "equal is not newer";
    EXPECT_EQ(newestApplicable({item("6"), item("8"), item("7")}, u"5"_s)->version, u"8"_s);
    EXPECT_EQ(newestApplicable({item("9", "", "beta"), item("6")}, u"5"_s)->version, u"6"_s);

    // An enclosure for another system is passed over for one for this one.
    const QByteArray twoSystems = R"(<rss xmlns:s="urn:any"><channel><item><s:version>7</s:version>
        <enclosure url="https://x/win.exe" length="1" s:os="windows" s:edSignature="w"/>
        <enclosure url="https://x/lin.deb" length="2" s:os="linux" s:edSignature="l"/>
        </item></channel></rss>)";
    const auto appcast = parseAppcast(twoSystems);
    ASSERT_TRUE(appcast);
    ASSERT_EQ(appcast->items.size(), 1);
    EXPECT_EQ(appcast->items[0].url, QUrl(u"https://x/lin.deb"_s));
    EXPECT_EQ(appcast->items[0].edSignature, u"l"_s);
}

// ---- Signatures, installer command, schedule ------------------------------

struct KeyPair
{
    QByteArray publicKey = QByteArray(crypto_sign_PUBLICKEYBYTES, '\0');
    QByteArray secretKey = QByteArray(crypto_sign_SECRETKEYBYTES, '\0');

    KeyPair()
    {
        EXPECT_GE(sodium_init(), 0);
        crypto_sign_keypair(reinterpret_cast<unsigned char *>(publicKey.data()),
                            reinterpret_cast<unsigned char *>(secretKey.data()));
    }
    QString publicBase64() const { return QString::fromLatin1(publicKey.toBase64()); }
    QString sign(const QByteArray &message) const
    {
        QByteArray signature(crypto_sign_BYTES, '\0');
        crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                             reinterpret_cast<const unsigned char *>(message.constData()),
                             static_cast<unsigned long long>(message.size()),
                             reinterpret_cast<const unsigned char *>(secretKey.constData()));
        return QString::fromLatin1(signature.toBase64());
    }
};

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    return bytes;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

TEST(UpdatePackageVerifier, AcceptsOnlyTheSignedBytesUnderTheBuildsKey)
{
    using UpdatePackageVerifier::Result;
    using UpdatePackageVerifier::verify;
    QTemporaryDir dir;
    const KeyPair key;
    const KeyPair stranger;
    const QByteArray package = randomBytes(4096);
    const QString path = dir.filePath(u"p.deb"_s);
    ASSERT_TRUE(writeFile(path, package));
    const QString signature = key.sign(package);

    EXPECT_EQ(verify(path, package.size(), signature, key.publicBase64()), Result::accepted);
    EXPECT_EQ(verify(path, 0, signature, key.publicBase64()), Result::accepted) << "length not stated";
    EXPECT_EQ(verify(path, package.size() + 1, signature, key.publicBase64()), Result::sizeMismatch);
    EXPECT_EQ(verify(path, package.size(), stranger.sign(package), key.publicBase64()), Result::badSignature);
    EXPECT_EQ(verify(path, package.size(), signature, stranger.publicBase64()), Result::badSignature);
    EXPECT_EQ(verify(path, package.size(), u"bm90IGEgc2lnbmF0dXJl"_s, key.publicBase64()),
              Result::badSignature);
    EXPECT_EQ(verify(path, package.size(), QString(), key.publicBase64()), Result::noSignature);
    EXPECT_EQ(verify(path, package.size(), signature, QString()), Result::noKey);
    EXPECT_EQ(verify(dir.filePath(u"missing.deb"_s), 0, signature, key.publicBase64()), Result::unreadable);

    QByteArray tampered = package;
    tampered[2000] = char(tampered[2000] ^ 1);
    ASSERT_TRUE(writeFile(path, tampered));
    EXPECT_EQ(verify(path, package.size(), signature, key.publicBase64()), Result::badSignature);
}

TEST(SystemPackageInstaller, AsksTheSystemToInstallTheFileByItsFullPath)
{
    const QString relative = u"cache/veilora_1.2.deb"_s;
    const QString absolute = QDir::current().absoluteFilePath(relative);
    EXPECT_EQ(SystemPackageInstaller::command(relative, true),
              (QStringList{u"pkexec"_s, u"/usr/bin/apt-get"_s, u"install"_s, u"-y"_s, absolute}));
    EXPECT_EQ(SystemPackageInstaller::command(u"/tmp/a b.deb"_s, false),
              (QStringList{u"xdg-open"_s, u"/tmp/a b.deb"_s}));
}

TEST(UpdaterSchedule, ChecksDailyAndSoonAfterAMissedDay)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto delay = [&](std::optional<QDateTime> last) {
        return UpdaterController::delayUntilNextCheck(last, now);
    };
    EXPECT_EQ(delay(std::nullopt), UpdaterController::firstCheckDelay);
    EXPECT_EQ(delay(now.addSecs(-3600)), std::chrono::milliseconds(23h));
    EXPECT_EQ(delay(now.addDays(-3)), UpdaterController::firstCheckDelay);
    EXPECT_EQ(delay(now.addSecs(-24 * 3600 + 5)), UpdaterController::firstCheckDelay) << "never sooner";
    EXPECT_EQ(delay(now.addDays(2)), UpdaterController::firstCheckDelay) << "clock set back";
}

// ---- Whole updates against the real server --------------------------------

class UpdaterAgainstServer : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        feed = new QTemporaryDir;
        server = new TestServer(TestServer::Options{{}, feed->path(), 0});
        QString error;
        ASSERT_TRUE(server->start(&error)) << error.toStdString();
        // The updater trusts the server's private authority as a self-hoster's build would.
        qputenv("VEILORA_SERVER_CA", server->caCertificatePath().toUtf8());
    }
    static void TearDownTestSuite()
    {
        delete server;
        delete feed;
    }

    void SetUp() override { ASSERT_TRUE(server) << "the server did not start"; }

    static QString feedURL(const QString &name) { return server->baseUrl().toString() + u"/feed/"_s + name; }

    // Puts a package into the feed and returns the appcast <item> announcing it.
    QByteArray publish(const QString &name, const QByteArray &bytes, const QString &build,
                       const QString &version, const QString &signature,
                       std::optional<qint64> length = std::nullopt)
    {
        EXPECT_TRUE(writeFile(feed->filePath(name), bytes));
        return QStringLiteral(R"(<item><title>Version %1</title>
            <sparkle:version>%2</sparkle:version><sparkle:shortVersionString>%1</sparkle:shortVersionString>
            <sparkle:releaseNotesLink>%3</sparkle:releaseNotesLink>
            <enclosure url="%4" length="%5" type="application/vnd.debian.binary-package"
                       sparkle:edSignature="%6"/></item>)")
            .arg(version, build, feedURL(u"notes-"_s + version + u".html"_s), feedURL(name))
            .arg(length.value_or(bytes.size()))
            .arg(signature)
            .toUtf8();
    }

    void writeAppcast(const QString &name, const QByteArray &items)
    {
        ASSERT_TRUE(writeFile(feed->filePath(name),
                              "<?xml version=\"1.0\"?>\n<rss version=\"2.0\" "
                              "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">"
                              "<channel><title>Veilora</title>" +
                                  items + "</channel></rss>"));
    }

    std::unique_ptr<UpdaterController> controller(const QString &address,
                                                  const QString &runningBuild = u"100"_s)
    {
        UpdaterController::Configuration configuration;
        configuration.session.feedURL = QUrl(address);
        configuration.session.runningBuild = runningBuild;
        configuration.session.publicKey = key.publicBase64();
        configuration.session.downloadFolder = downloads.path();
        configuration.runningVersion = u"1.0"_s;
        configuration.defaults = &defaults;
        configuration.installer = &installer;
        return std::make_unique<UpdaterController>(std::move(configuration));
    }

    static void click(PillButton *button)
    {
        ASSERT_NE(button, nullptr);
        ASSERT_TRUE(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
    }

    static bool showsPage(UpdaterController &updater, UpdateWindow::Page page)
    {
        return waitUntil([&] { return updater.window() && updater.window()->page() == page; }, 20s);
    }

    static inline TestServer *server = nullptr;
    static inline QTemporaryDir *feed = nullptr;
    const KeyPair key;
    QTemporaryDir home;
    QTemporaryDir downloads;
    UserDefaults defaults{home.filePath(u"defaults.json"_s)};
    FakePackageInstaller installer;
};

TEST_F(UpdaterAgainstServer, NewerSignedPackageIsOfferedDownloadedAndInstalledWithConsent)
{
    const QByteArray package = randomBytes(3 * 1024 * 1024);
    const QByteArray older = randomBytes(1000);
    writeAppcast(u"appcast-newer.xml"_s,
                 publish(u"veilora_1.0.5.deb"_s, older, u"99"_s, u"0.9"_s, key.sign(older)) +
                     publish(u"veilora_1.2.deb"_s, package, u"120"_s, u"1.2"_s, key.sign(package)));
    ASSERT_TRUE(writeFile(feed->filePath(u"notes-1.2.html"_s), "<h1>What is new</h1><p>Faster blur.</p>"));
    auto updater = controller(feedURL(u"appcast-newer.xml"_s));

    updater->checkForUpdates();
    ASSERT_TRUE(updater->window()->isVisible());
    EXPECT_EQ(updater->window()->page(), UpdateWindow::Page::checking);
    ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::available)) << server->log().toStdString();
    UpdateWindow &window = *updater->window();
    EXPECT_TRUE(window.messageText().contains(u"Veilora 1.2 is now available"_s))
        << window.messageText().toStdString();
    EXPECT_TRUE(waitUntil([&] { return window.releaseNotesText().contains(u"Faster blur."_s); }));
    EXPECT_TRUE(updater->lastCheckTime().has_value());

    QSignalSpy progress(&updater->session(), &UpdaterSession::downloadProgress);
    click(window.primaryButton()); // Install Update
    EXPECT_EQ(window.page(), UpdateWindow::Page::downloading);
    ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::readyToInstall)) << window.detailText().toStdString();
    ASSERT_GE(progress.size(), 2) << "progress is reported while the package arrives";
    qint64 previous = 0;
    for (const QList<QVariant> &step : std::as_const(progress)) {
        EXPECT_GT(step[0].toLongLong(), previous);
        EXPECT_EQ(step[1].toLongLong(), package.size());
        previous = step[0].toLongLong();
    }
    EXPECT_EQ(previous, package.size());
    EXPECT_TRUE(window.titleText().contains(u"1.2"_s));

    // Nothing reaches the system until the person consents.
    EXPECT_TRUE(installer.packages.isEmpty());
    click(window.primaryButton()); // Install
    ASSERT_EQ(installer.packages.size(), 1);
    EXPECT_TRUE(installer.packages[0].startsWith(downloads.path()));
    EXPECT_TRUE(installer.packages[0].endsWith(u".deb"_s));
    EXPECT_TRUE(installer.contents[0] == package);
    EXPECT_EQ(window.page(), UpdateWindow::Page::installing);
    installer.finish();
    EXPECT_EQ(window.page(), UpdateWindow::Page::installed);
    click(window.primaryButton()); // Close
    EXPECT_FALSE(window.isVisible());
}

TEST_F(UpdaterAgainstServer, OlderOrEqualReleasesAreNotOffered)
{
    const QByteArray bytes = randomBytes(2000);
    writeAppcast(u"appcast-old.xml"_s,
                 publish(u"veilora_1.0.deb"_s, bytes, u"100"_s, u"1.0"_s, key.sign(bytes)) +
                     publish(u"veilora_0.9.deb"_s, bytes, u"90"_s, u"0.9"_s, key.sign(bytes)));
    auto updater = controller(feedURL(u"appcast-old.xml"_s));
    updater->checkForUpdates();
    ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::upToDate));
    EXPECT_TRUE(updater->window()->messageText().contains(u"1.0"_s));
    click(updater->window()->primaryButton()); // OK
    EXPECT_FALSE(updater->window()->isVisible());

    // Nor does a background check show anything.
    QSignalSpy finished(updater.get(), &UpdaterController::automaticCheckFinished);
    updater->checkInBackground();
    ASSERT_TRUE(waitUntil([&] { return finished.size() == 1; }));
    EXPECT_FALSE(updater->window()->isVisible());
}

TEST_F(UpdaterAgainstServer, PackagesWithAWrongSignatureOrLengthAreRefused)
{
    const KeyPair stranger;
    const QByteArray forged = randomBytes(100 * 1024);
    const QByteArray padded = randomBytes(100 * 1024);
    const QByteArray truncated = randomBytes(100 * 1024);
    struct Case
    {
        QString feed;
        QByteArray item;
        UpdaterError error;
    } cases[] = {
        {u"appcast-forged.xml"_s, publish(u"forged.deb"_s, forged, u"130"_s, u"1.3"_s, stranger.sign(forged)),
         UpdaterError::signatureMismatch},
        {u"appcast-unsigned.xml"_s, publish(u"unsigned.deb"_s, forged, u"130"_s, u"1.3"_s, QString()),
         UpdaterError::signatureMismatch},
        // Longer than announced: stopped as soon as it passes the stated length.
        {u"appcast-long.xml"_s,
         publish(u"long.deb"_s, padded, u"130"_s, u"1.3"_s, key.sign(padded), padded.size() - 10),
         UpdaterError::sizeMismatch},
        {u"appcast-short.xml"_s,
         publish(u"short.deb"_s, truncated, u"130"_s, u"1.3"_s, key.sign(truncated), truncated.size() + 10),
         UpdaterError::sizeMismatch},
    };
    for (const Case &refused : cases) {
        SCOPED_TRACE(refused.feed.toStdString());
        writeAppcast(refused.feed, refused.item);
        auto updater = controller(feedURL(refused.feed));
        updater->checkForUpdates();
        ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::available));
        click(updater->window()->primaryButton()); // Install Update
        ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::error));
        EXPECT_EQ(updater->window()->messageText(), UpdateWindow::errorMessage(refused.error));
        EXPECT_TRUE(updater->window()->titleText() == u"Update Error"_s);
        EXPECT_TRUE(QDir(downloads.path()).isEmpty()) << "a refused package is not kept";
        EXPECT_TRUE(installer.packages.isEmpty());
    }
    EXPECT_EQ(UpdateWindow::errorMessage(UpdaterError::signatureMismatch),
              u"The downloaded update’s signature does not match, so it was not installed."_s);
}

TEST_F(UpdaterAgainstServer, AnUnreachableOrBrokenFeedIsAnErrorInTheCheckingWindow)
{
    // A port that was just free: nothing listens there.
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost));
    const quint16 port = probe.serverPort();
    probe.close();
    auto unreachable = controller(u"https://127.0.0.1:%1/feed/appcast.xml"_s.arg(port));
    unreachable->checkForUpdates();
    ASSERT_TRUE(showsPage(*unreachable, UpdateWindow::Page::error));
    EXPECT_EQ(unreachable->window()->messageText(),
              UpdateWindow::errorMessage(UpdaterError::feedUnreachable));
    EXPECT_FALSE(unreachable->window()->detailText().isEmpty());
    click(unreachable->window()->primaryButton()); // OK
    EXPECT_FALSE(unreachable->window()->isVisible());

    // A background check keeps its failure to the log.
    QSignalSpy finished(unreachable.get(), &UpdaterController::automaticCheckFinished);
    unreachable->checkInBackground();
    ASSERT_TRUE(waitUntil([&] { return finished.size() == 1; }));
    EXPECT_FALSE(unreachable->window()->isVisible());

    ASSERT_TRUE(writeFile(feed->filePath(u"appcast-broken.xml"_s), "<rss><channel><item>"));
    for (const QString &name : {u"appcast-broken.xml"_s, u"no-such-feed.xml"_s}) {
        auto broken = controller(feedURL(name));
        broken->checkForUpdates();
        ASSERT_TRUE(showsPage(*broken, UpdateWindow::Page::error)) << name.toStdString();
        EXPECT_EQ(broken->window()->messageText(), UpdateWindow::errorMessage(UpdaterError::invalidFeed));
    }
}

TEST_F(UpdaterAgainstServer, BackgroundCheckOffersAnUpdateAndCancelStopsTheDownload)
{
    const QByteArray package = randomBytes(8 * 1024 * 1024);
    writeAppcast(u"appcast-background.xml"_s,
                 publish(u"veilora_1.4.deb"_s, package, u"140"_s, u"1.4"_s, key.sign(package)));
    auto updater = controller(feedURL(u"appcast-background.xml"_s));
    updater->checkInBackground();
    ASSERT_TRUE(showsPage(*updater, UpdateWindow::Page::available));
    ASSERT_TRUE(updater->window()->isVisible());

    click(updater->window()->primaryButton()); // Install Update
    ASSERT_EQ(updater->window()->page(), UpdateWindow::Page::downloading);
    click(updater->window()->secondaryButton()); // Cancel
    EXPECT_FALSE(updater->window()->isVisible());
    EXPECT_FALSE(updater->session().isBusy());
    processEventsFor(200ms);
    EXPECT_TRUE(QDir(downloads.path()).isEmpty()) << "a cancelled download leaves nothing behind";
    EXPECT_TRUE(installer.packages.isEmpty());
}

TEST_F(UpdaterAgainstServer, TheReleaseScriptPublishesAPackageTheUpdaterAccepts)
{
    QTemporaryDir work;
    const QString secret = work.filePath(u"release.key"_s);
    QProcess keygen;
    keygen.start(QStringLiteral(VEILORA_RELEASE_TOOL), {u"keygen"_s, secret});
    ASSERT_TRUE(keygen.waitForFinished(30000));
    ASSERT_EQ(keygen.exitCode(), 0) << keygen.readAllStandardError().toStdString();
    const QString publicKey = QString::fromLatin1(keygen.readAllStandardOutput().trimmed());
    EXPECT_EQ(QFile(secret).permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);

    QTemporaryDir published;
    const QByteArray package = randomBytes(512 * 1024);
    ASSERT_TRUE(writeFile(work.filePath(u"veilora_2.0_amd64.deb"_s), package));
    const QString base = server->baseUrl().toString() + u"/feed"_s;
    const auto publish = [&](const QString &build, const QString &version) {
        QProcess script;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"VEILORA_RELEASE_TOOL"_s, QStringLiteral(VEILORA_RELEASE_TOOL));
        script.setProcessEnvironment(environment);
        script.setProcessChannelMode(QProcess::MergedChannels);
        script.start(QStringLiteral(VEILORA_SIGN_RELEASE_SCRIPT),
                     {u"--key"_s, secret, u"--feed-dir"_s, feed->path(), u"--base-url"_s, base,
                      u"--version"_s, build, u"--short-version"_s, version,
                      work.filePath(u"veilora_2.0_amd64.deb"_s)});
        EXPECT_TRUE(script.waitForFinished(30000));
        return std::pair(script.exitCode(), QString::fromUtf8(script.readAll()));
    };
    const auto [code, output] = publish(u"200"_s, u"2.0"_s);
    ASSERT_EQ(code, 0) << output.toStdString();
    EXPECT_NE(publish(u"200"_s, u"2.0"_s).first, 0) << "the same build is not published twice";

    UpdaterController::Configuration configuration;
    configuration.session.feedURL = QUrl(feedURL(u"appcast.xml"_s));
    configuration.session.runningBuild = u"100"_s;
    configuration.session.publicKey = publicKey;
    configuration.session.downloadFolder = downloads.path();
    configuration.runningVersion = u"1.0"_s;
    configuration.defaults = &defaults;
    configuration.installer = &installer;
    UpdaterController updater(std::move(configuration));
    updater.checkForUpdates();
    ASSERT_TRUE(showsPage(updater, UpdateWindow::Page::available));
    EXPECT_TRUE(updater.window()->messageText().contains(u"2.0"_s));
    click(updater.window()->primaryButton());
    ASSERT_TRUE(showsPage(updater, UpdateWindow::Page::readyToInstall))
        << updater.window()->detailText().toStdString();
    click(updater.window()->primaryButton());
    ASSERT_EQ(installer.contents.size(), 1);
    EXPECT_TRUE(installer.contents[0] == package);
}

TEST_F(UpdaterAgainstServer, TheAutomaticCheckSwitchSurvivesARestart)
{
    {
        auto first = controller(feedURL(u"appcast.xml"_s));
        EXPECT_TRUE(first->automaticallyChecksForUpdates()) << "on by default";
        first->start();
        EXPECT_TRUE(first->scheduledCheckIn().has_value());
        first->setAutomaticallyChecksForUpdates(false);
        EXPECT_FALSE(first->scheduledCheckIn().has_value());
    }
    UserDefaults reopened(defaults.filePath());
    EXPECT_EQ(reopened.boolValue(QString::fromLatin1(UpdaterController::automaticChecksKey)), false);

    UpdaterController::Configuration configuration;
    configuration.session.feedURL = QUrl(feedURL(u"appcast.xml"_s));
    configuration.defaults = &reopened;
    configuration.installer = &installer;
    UpdaterController second(std::move(configuration));
    EXPECT_FALSE(second.automaticallyChecksForUpdates());
    second.start();
    EXPECT_FALSE(second.scheduledCheckIn().has_value());
    second.setAutomaticallyChecksForUpdates(true);
    ASSERT_TRUE(second.scheduledCheckIn().has_value());
    EXPECT_LE(*second.scheduledCheckIn(), std::chrono::milliseconds(UpdaterController::firstCheckDelay));
}

} // namespace
