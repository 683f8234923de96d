#include "platform/SingleInstance.h"

#include "support/TestSupport.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

// Two connections to the session bus stand for two processes; handing over
// between two real processes is tested in tests/app.
TEST(SingleInstanceTest, OnlyOneClaimHoldsAtATime)
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        if (test::inTestSession())
            FAIL() << "no session bus in the test session";
        GTEST_SKIP() << "needs a session bus";
    }
    const QString service =
        QStringLiteral("com.norvane.Veilora.test%1").arg(QCoreApplication::applicationPid());
    auto first = std::make_unique<DBusSingleInstance>(QDBusConnection::sessionBus(), service);
    ASSERT_TRUE(first->claim());
    DBusSingleInstance later(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("second")), service);
    EXPECT_FALSE(later.claim());

    // Once the running one is gone, nothing answers and the next start becomes it.
    first.reset();
    QString error;
    EXPECT_FALSE(later.sendActivate(&error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(later.claim());
}

} // namespace
