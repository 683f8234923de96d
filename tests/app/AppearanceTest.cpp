// The desktop's light/dark preference, read from a portal on the real session
// bus, and the palette that follows it.
#include "app/AppearanceFollower.h"
#include "controls/Palettes.h"
#include "platform/DesktopAppearance.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QSocketNotifier>
#include <QWidget>

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

using namespace veilora;
using namespace veilora::test;
using Scheme = DesktopAppearance::Scheme;

namespace {

// The settings half of a desktop portal: answers Read with the scheme it was
// started with (or not at all) and emits SettingChanged for each line
// "GROUP KEY VALUE" on its standard input. A process of its own, as the real one.
class FakePortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    FakePortal(uint scheme, bool answers)
        : m_scheme(scheme)
        , m_answers(answers)
    {}

    void change(const QString &group, const QString &key, uint value)
    {
        QDBusMessage signal = QDBusMessage::createSignal(QLatin1String(PortalDesktopAppearance::path),
                                                         QLatin1String(PortalDesktopAppearance::interface),
                                                         QStringLiteral("SettingChanged"));
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        QDBusConnection::sessionBus().send(signal);
    }

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key)
    {
        if (!m_answers || group != QLatin1String("org.freedesktop.appearance") ||
            key != QLatin1String("color-scheme")) {
            sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                           QStringLiteral("no such setting"));
            return {};
        }
        // A variant inside a variant, as the portal answers.
        return QDBusVariant(QVariant::fromValue(QDBusVariant(m_scheme)));
    }

private:
    uint m_scheme;
    bool m_answers;
};

VEILORA_TEST_PEER(portal)
{
    FakePortal portal(args.value(0).toUInt(), args.value(1) != QLatin1String("silent"));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QLatin1String(PortalDesktopAppearance::path), &portal,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QLatin1String(PortalDesktopAppearance::service)))
        return 1;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line[256];
        if (!std::fgets(line, sizeof line, stdin))
            return QCoreApplication::quit();
        const QStringList words = QString::fromUtf8(line).simplified().split(u' ');
        if (words.size() == 3)
            portal.change(words[0], words[1], words[2].toUInt());
    });
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

class AppearanceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QDBusConnection::sessionBus().isConnected()) {
            if (inTestSession())
                FAIL() << "the test session has no session bus";
            GTEST_SKIP() << "needs a session bus";
        }
    }
    void TearDown() override
    {
        if (portal) {
            portal->closeWriteChannel();
            portal->waitForFinished();
        }
        QApplication::setPalette(Palettes::light());
    }

    void startPortal(const QStringList &args)
    {
        portal.reset(startPeer(QStringLiteral("portal"), args));
        ASSERT_TRUE(waitForPeerLine(portal.get(), QStringLiteral("ready")));
    }

    // As the desktop does when the user switches its style.
    void change(const char *group, const char *key, int value)
    {
        portal->write(
            QStringLiteral("%1 %2 %3\n").arg(QLatin1String(group), QLatin1String(key)).arg(value).toUtf8());
    }

    std::unique_ptr<QProcess> portal;
};

TEST_F(AppearanceTest, FollowsThePortalFromItsFirstAnswerThroughEveryChange)
{
    QApplication::setPalette(Palettes::light());
    startPortal({QStringLiteral("1")});
    PortalDesktopAppearance appearance(QDBusConnection::sessionBus());
    AppearanceFollower follower(appearance);
    QWidget window;
    window.show();

    ASSERT_TRUE(waitUntil([&] { return appearance.scheme() == Scheme::dark; }));
    EXPECT_TRUE(Palettes::isDark(QApplication::palette()));
    EXPECT_TRUE(Palettes::isDark(window.palette())) << "open windows re-colour at once";

    change("org.freedesktop.appearance", "color-scheme", 2);
    ASSERT_TRUE(waitUntil([&] { return appearance.scheme() == Scheme::light; }));
    EXPECT_EQ(QApplication::palette(), Palettes::light()) << "the themed light palette comes back";

    // Other settings of the portal are not ours to follow.
    change("org.freedesktop.appearance", "accent-color", 1);
    change("org.gnome.desktop.interface", "color-scheme", 1);
    processEventsFor(std::chrono::milliseconds(200));
    EXPECT_EQ(appearance.scheme(), Scheme::light);

    change("org.freedesktop.appearance", "color-scheme", 0);
    ASSERT_TRUE(waitUntil([&] { return appearance.scheme() == Scheme::noPreference; }));
    EXPECT_FALSE(Palettes::isDark(QApplication::palette()));
}

TEST_F(AppearanceTest, WithoutAnAnswerTheThemesPaletteStays)
{
    startPortal({QStringLiteral("1"), QStringLiteral("silent")});
    const QPalette themed = Palettes::dark();
    QApplication::setPalette(themed);
    PortalDesktopAppearance appearance(QDBusConnection::sessionBus());
    AppearanceFollower follower(appearance);
    processEventsFor(std::chrono::milliseconds(300));
    EXPECT_EQ(appearance.scheme(), Scheme::noPreference);
    EXPECT_EQ(QApplication::palette(), themed);
}

TEST(AppearanceFollowerTest, KeepsAThemedPaletteThatAlreadyMatches)
{
    QPalette plasmaDark = Palettes::dark();
    plasmaDark.setColor(QPalette::Highlight, QColor(61, 174, 233));
    EXPECT_EQ(AppearanceFollower::paletteFor(Scheme::dark, plasmaDark), plasmaDark);
    EXPECT_EQ(AppearanceFollower::paletteFor(Scheme::noPreference, plasmaDark), plasmaDark);
    EXPECT_EQ(AppearanceFollower::paletteFor(Scheme::light, plasmaDark), Palettes::light());
    EXPECT_EQ(AppearanceFollower::paletteFor(Scheme::dark, Palettes::light()), Palettes::dark());
    EXPECT_EQ(PortalDesktopAppearance::fromPortalValue(QStringLiteral("dark")), Scheme::noPreference);
}

} // namespace

#include "AppearanceTest.moc"
