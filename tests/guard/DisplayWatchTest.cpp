#include "GuardTestFakes.h"
#include "guard/DisplayReconfigWatcher.h"
#include "guard/PrivacyGuard.h"
#include "platform/CameraAuthorization.h"
#include "platform/display/LinuxDisplayServices.h"
#include "support/FakeClock.h"
#include "support/FakeDisplayServices.h"
#include "support/TestSupport.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>

#include <atomic>
#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

TEST(DisplayReconfigWatcherTest, BurstOfEventsGivesOneChangeAfterTheLast)
{
    FakeDisplayServices displays;
    std::atomic<int> changes{0};
    std::atomic<qint64> changedAt{0};
    QElapsedTimer elapsed;
    elapsed.start();
    auto watcher = DisplayReconfigWatcher::create([&] {
        changedAt = elapsed.elapsed();
        ++changes;
    });
    watcher->start(displays);
    watcher->start(displays); // a second start must not double every event

    qint64 lastEvent = 0;
    for (int i = 0; i < 6; ++i) {
        Q_EMIT displays.reconfigured();
        lastEvent = elapsed.elapsed();
        processEventsFor(15ms);
    }
    ASSERT_TRUE(waitUntil([&] { return changes.load() > 0; }, 3s));
    processEventsFor(600ms);
    EXPECT_EQ(changes.load(), 1);
    EXPECT_GE(changedAt.load() - lastEvent, 390) << "the change waits for the burst to settle";

    Q_EMIT displays.reconfigured();
    ASSERT_TRUE(waitUntil([&] { return changes.load() == 2; }, 3s)) << "a later burst is a new change";
}

TEST(LidRuleTest, LidIsOpenOnlyWhileABuiltinDisplayIsActiveAndAwake)
{
    FakeGuardParts parts;
    FakeDisplayServices &displays = parts.displays;
    FakeClock clock;
    PrivacyGuard guard(parts.collaborators(&clock));

    const ActiveDisplay panel{QStringLiteral("eDP-1"), true, false};
    const ActiveDisplay sleepingPanel{QStringLiteral("eDP-1"), true, true};
    const ActiveDisplay monitor{QStringLiteral("HDMI-1"), false, false};
    const std::vector<std::pair<std::optional<std::vector<ActiveDisplay>>, bool>> cases{
        {std::vector{monitor, panel}, false},
        {std::vector{sleepingPanel, monitor}, true},
        {std::vector{monitor}, true},
        {std::vector<ActiveDisplay>{}, true},
        {std::nullopt, false},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        displays.displays = cases[i].first;
        EXPECT_EQ(guard.lidClosed(), cases[i].second) << "case " << i;
    }
    EXPECT_TRUE(LinuxDisplayServices::isBuiltinConnectorName(QStringLiteral("eDP-1")));
    EXPECT_TRUE(LinuxDisplayServices::isBuiltinConnectorName(QStringLiteral("LVDS1")));
    EXPECT_FALSE(LinuxDisplayServices::isBuiltinConnectorName(QStringLiteral("DP-1")));
}

TEST(LinuxDisplayServicesTest, ReadsTheXServerAndFollowsTheScreenSaver)
{
    if (!qEnvironmentVariableIsSet("DISPLAY") || !QDBusConnection::sessionBus().isConnected()) {
        if (inTestSession())
            FAIL() << "the test session has an X server and a session bus";
        GTEST_SKIP() << "needs an X server and a session bus";
    }
    LinuxDisplayServices displays;
    const auto active = displays.activeDisplays(16);
    ASSERT_TRUE(active);
    ASSERT_FALSE(active->empty());
    EXPECT_FALSE(active->front().asleep);

    int sleeps = 0, wakes = 0;
    QObject::connect(&displays, &DisplayServices::screensDidSleep, [&] { ++sleeps; });
    QObject::connect(&displays, &DisplayServices::screensDidWake, [&] { ++wakes; });
    const auto announce = [](const char *interface, bool on) {
        auto signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/ScreenSaver"),
                                                 QLatin1String(interface), QStringLiteral("ActiveChanged"));
        signal << on;
        QDBusConnection::sessionBus().send(signal);
    };
    announce("org.freedesktop.ScreenSaver", true);
    ASSERT_TRUE(waitUntil([&] { return sleeps == 1; }));
    announce("org.gnome.ScreenSaver", true);
    processEventsFor(100ms);
    EXPECT_EQ(sleeps, 1) << "already asleep";
    announce("org.gnome.ScreenSaver", false);
    ASSERT_TRUE(waitUntil([&] { return wakes == 1; }));
}

} // namespace
