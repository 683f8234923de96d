#include "platform/NotificationCenter.h"

#include "platform/DistributedNotificationCenter.h"
#include "support/LoopbackNotificationCenter.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <gtest/gtest.h>
#include <iostream>
#include <memory>

using namespace veilora;
using namespace std::chrono_literals;

// A second copy of the application: answers "test.ping" with "test.pong".
VEILORA_TEST_PEER(pong)
{
    auto &center = DistributedNotificationCenter::defaultCenter();
    QObject context;
    center.observe(QStringLiteral("test.ping"), &context, [&center]() {
        center.post(QStringLiteral("test.pong"));
        QCoreApplication::quit();
    });
    std::cout << "ready" << std::endl;
    return QCoreApplication::exec();
}

TEST(DistributedNotificationCenterTest, ReachesOtherProcessesAndThePosterItself)
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        if (test::inTestSession())
            FAIL() << "no session bus inside the test session";
        GTEST_SKIP() << "needs a session bus (run under dbus-run-session)";
    }
    auto &center = DistributedNotificationCenter::defaultCenter();
    QObject context;
    int pings = 0;
    int pongs = 0;
    center.observe(QStringLiteral("test.ping"), &context, [&]() { ++pings; });
    center.observe(QStringLiteral("test.pong"), &context, [&]() { ++pongs; });

    std::unique_ptr<QProcess> peer(test::startPeer(QStringLiteral("pong")));
    ASSERT_TRUE(test::waitForPeerLine(peer.get(), QStringLiteral("ready")));
    center.post(QStringLiteral("test.ping"));

    EXPECT_TRUE(test::waitUntil([&]() { return pongs == 1; })) << "the other process did not answer";
    EXPECT_EQ(pings, 1) << "the poster receives its own notification";
    EXPECT_TRUE(peer->waitForFinished(5000));
    EXPECT_EQ(peer->exitCode(), 0);
    test::processEventsFor(100ms);
    EXPECT_EQ(pings, 1);
    EXPECT_EQ(pongs, 1);
}

TEST(DistributedNotificationCenterTest, ObserverEndsWithItsContext)
{
    LoopbackNotificationCenter center;
    int calls = 0;
    {
        QObject context;
        center.observe(QStringLiteral("n"), &context, [&]() { ++calls; });
        center.post(QStringLiteral("n"));
        center.post(QStringLiteral("other"));
    }
    center.post(QStringLiteral("n"));
    EXPECT_EQ(calls, 1);
}

TEST(DistributedNotificationCenterTest, WithoutABusNothingHappensAndNothingCrashes)
{
    DBusNotificationCenter center(QDBusConnection(QStringLiteral("no such connection")));
    EXPECT_FALSE(center.isConnected());
    QObject context;
    bool called = false;
    center.observe(QStringLiteral("n"), &context, [&]() { called = true; });
    center.post(QStringLiteral("n"));
    test::processEventsFor(50ms);
    EXPECT_FALSE(called);
}

TEST(LocalNotificationCenterTest, DeliversSynchronouslyInProcess)
{
    auto &center = LocalNotificationCenter::defaultCenter();
    QObject context;
    QStringList seen;
    center.observe(QStringLiteral("veilora.stateChanged"), &context,
                   [&]() { seen << QStringLiteral("state"); });
    center.post(QStringLiteral("veilora.stateChanged"));
    EXPECT_EQ(seen, QStringList{QStringLiteral("state")});
}
