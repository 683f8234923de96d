// main() of every test binary: each run gets a fresh private home with its own
// XDG folders, so tests never read or write the developer's real preferences,
// logs or profile, and a QApplication for event loops and windows.
//
// A test that needs a second process starts its own binary again with
// `--peer NAME` (see TestPeer.h); the peer shares the parent's home.
#include "diagnostics/DebugLog.h"
#include "support/TestPeer.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <memory>

namespace veilora::test {

std::map<std::string, PeerMain> &peerRegistry()
{
    static std::map<std::string, PeerMain> peers;
    return peers;
}

} // namespace veilora::test

namespace {

void useHome(const QByteArray &root)
{
    setenv("VEILORA_TEST_HOME", root.constData(), 1);
    setenv("HOME", root.constData(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").constData(), 1);
    setenv("XDG_DATA_HOME", (root + "/data").constData(), 1);
    setenv("XDG_CACHE_HOME", (root + "/cache").constData(), 1);
    setenv("XDG_STATE_HOME", (root + "/state").constData(), 1);
}

} // namespace

int main(int argc, char **argv)
{
    veilora::DebugLog::install();
    std::unique_ptr<QTemporaryDir> home;
    if (const char *shared = std::getenv("VEILORA_TEST_HOME");
        shared && argc >= 3 && !std::strcmp(argv[1], "--peer")) {
        useHome(QByteArray(shared));
    } else {
        home = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/veilora-test-XXXXXX"));
        if (!home->isValid())
            return 2;
        useHome(home->path().toUtf8());
    }
    // Allow running the non-graphical tests outside a display server as well.
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);

    if (argc >= 3 && !std::strcmp(argv[1], "--peer")) {
        const auto &peers = veilora::test::peerRegistry();
        const auto it = peers.find(argv[2]);
        if (it == peers.end())
            return 3;
        QApplication app(argc, argv);
        return it->second(QCoreApplication::arguments().mid(3));
    }

    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
