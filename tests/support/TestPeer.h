#pragma once

#include <QProcess>
#include <QStringList>

#include <functional>
#include <map>
#include <string>

namespace veilora::test {

// A second process for tests that cross process boundaries. Register a peer with
// VEILORA_TEST_PEER(name) { ... return exitCode; } in the test file; start it
// with startPeer("name", {args}). The peer runs with a QApplication, in the same
// private home as its parent, and may talk on stdout.
using PeerMain = std::function<int(const QStringList &args)>;

std::map<std::string, PeerMain> &peerRegistry();

struct PeerRegistration
{
    PeerRegistration(const char *name, PeerMain main) { peerRegistry()[name] = std::move(main); }
};

// Starts this test binary again as the named peer. The caller owns the process.
QProcess *startPeer(const QString &name, const QStringList &args = {});

// Waits (processing events) until the peer printed `line` on a line of its own.
bool waitForPeerLine(QProcess *peer, const QString &line, int timeoutMs = 10000);

} // namespace veilora::test

#define VEILORA_TEST_PEER(name)                                                                              \
    static int veiloraPeer_##name(const QStringList &args);                                                  \
    static const ::veilora::test::PeerRegistration veiloraPeerRegistration_##name(#name,                     \
                                                                                  veiloraPeer_##name);       \
    static int veiloraPeer_##name([[maybe_unused]] const QStringList &args)
