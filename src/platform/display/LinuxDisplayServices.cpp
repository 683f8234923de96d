#include "LinuxDisplayServices.h"

#include "platform/EventLog.h"

#include <QGuiApplication>
#include <QScreen>

// Xlib defines macros (Bool, Status, None) that clash with Qt and our names, so
// it comes last and stays in this file.
#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>
#include <X11/extensions/dpms.h>

namespace veilora {

namespace {

// Screensaver interfaces of the common desktops; all share the signal's shape.
const char *const screenSaverInterfaces[] = {
    "org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.mate.ScreenSaver",
    "org.cinnamon.ScreenSaver",    "org.xfce.ScreenSaver",
};

constexpr int dpmsPollMilliseconds = 2000;

} // namespace

LinuxDisplayServices::LinuxDisplayServices(QDBusConnection sessionBus, QDBusConnection systemBus)
{
    if (qEnvironmentVariableIsSet("DISPLAY"))
        m_display = XOpenDisplay(nullptr);
    if (!m_display)
        EventLog::write(
            QStringLiteral("displays: no X11 display, the lid and display sleep are not watched"));

    if (auto *app = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
            watchScreen(screen);
            Q_EMIT reconfigured();
        });
        connect(app, &QGuiApplication::screenRemoved, this, &DisplayServices::reconfigured);
        connect(app, &QGuiApplication::primaryScreenChanged, this, &DisplayServices::reconfigured);
        for (QScreen *screen : QGuiApplication::screens())
            watchScreen(screen);
    }

    if (systemBus.isConnected())
        systemBus.connect(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
                          QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"),
                          this, SLOT(onPrepareForSleep(bool)));
    if (sessionBus.isConnected()) {
        for (const char *interface : screenSaverInterfaces)
            sessionBus.connect(QString(), QString(), QString::fromLatin1(interface),
                               QStringLiteral("ActiveChanged"), this, SLOT(onScreenSaverActiveChanged(bool)));
    }

    if (m_display) {
        m_dpmsOff = dpmsOff();
        m_asleep = m_dpmsOff;
        m_dpmsPoll.setInterval(dpmsPollMilliseconds);
        connect(&m_dpmsPoll, &QTimer::timeout, this, [this] { setSource(m_dpmsOff, dpmsOff()); });
        m_dpmsPoll.start();
    }
}

LinuxDisplayServices::~LinuxDisplayServices()
{
    if (m_display)
        XCloseDisplay(m_display);
}

bool LinuxDisplayServices::isBuiltinConnectorName(const QString &name)
{
    for (const char *prefix : {"eDP", "LVDS", "DSI"}) {
        if (name.startsWith(QLatin1String(prefix), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void LinuxDisplayServices::watchScreen(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &DisplayServices::reconfigured);
}

std::optional<std::vector<ActiveDisplay>> LinuxDisplayServices::activeDisplays(int capacity) const
{
    QMutexLocker lock(&m_mutex);
    if (!m_display)
        return std::nullopt;
    int count = 0;
    XRRMonitorInfo *monitors = XRRGetMonitors(m_display, DefaultRootWindow(m_display), True, &count);
    if (!monitors)
        return std::nullopt;
    std::vector<ActiveDisplay> displays;
    for (int i = 0; i < count && static_cast<int>(displays.size()) < capacity; ++i) {
        char *atomName = XGetAtomName(m_display, monitors[i].name);
        const QString name = atomName ? QString::fromLocal8Bit(atomName) : QString();
        if (atomName)
            XFree(atomName);
        displays.push_back({name, isBuiltinConnectorName(name), m_dpmsOff});
    }
    XRRFreeMonitors(monitors);
    return displays;
}

bool LinuxDisplayServices::dpmsOff() const
{
    QMutexLocker lock(&m_mutex);
    int eventBase = 0, errorBase = 0;
    if (!m_display || !DPMSQueryExtension(m_display, &eventBase, &errorBase) || !DPMSCapable(m_display))
        return false;
    CARD16 level = 0;
    BOOL enabled = False;
    if (!DPMSInfo(m_display, &level, &enabled))
        return false;
    return enabled && level != DPMSModeOn;
}

void LinuxDisplayServices::onPrepareForSleep(bool sleeping)
{
    setSource(m_systemSleeping, sleeping);
}

void LinuxDisplayServices::onScreenSaverActiveChanged(bool active)
{
    setSource(m_screenSaverActive, active);
}

void LinuxDisplayServices::setSource(bool &source, bool value)
{
    source = value;
    const bool asleep = m_dpmsOff || m_systemSleeping || m_screenSaverActive;
    if (asleep == m_asleep)
        return;
    m_asleep = asleep;
    if (asleep)
        Q_EMIT screensDidSleep();
    else
        Q_EMIT screensDidWake();
}

} // namespace veilora
