#pragma once

#include "DisplayServices.h"

#include <QDBusConnection>
#include <QMutex>
#include <QTimer>

class QScreen;
struct _XDisplay;

namespace veilora {

// Displays of an X11 session.
//
// Active displays are the RandR monitors (what the desktop shows windows on); a
// monitor counts as built-in when its name names a laptop panel connector. The
// arrangement changes come from Qt's screen notifications, which follow RandR.
//
// The screens count as asleep while any of these holds: display power management
// has switched the monitors off (polled, X11 sends no event for it), the system
// is about to suspend (logind's PrepareForSleep), or the session's screensaver is
// active (its ActiveChanged signal: freedesktop, GNOME, MATE, Cinnamon, Xfce).
// Without an X server the display list is unreadable and only the D-Bus sources work.
class LinuxDisplayServices : public DisplayServices
{
    Q_OBJECT
public:
    explicit LinuxDisplayServices(QDBusConnection sessionBus = QDBusConnection::sessionBus(),
                                  QDBusConnection systemBus = QDBusConnection::systemBus());
    ~LinuxDisplayServices() override;

    std::optional<std::vector<ActiveDisplay>> activeDisplays(int capacity) const override;

    static bool isBuiltinConnectorName(const QString &name);

private Q_SLOTS:
    void onPrepareForSleep(bool sleeping);
    void onScreenSaverActiveChanged(bool active);

private:
    void watchScreen(QScreen *screen);
    bool dpmsOff() const;
    void setSource(bool &source, bool value);

    _XDisplay *m_display = nullptr;
    mutable QMutex m_mutex; // the X connection is used from the caller's thread
    QTimer m_dpmsPoll;
    bool m_dpmsOff = false;
    bool m_systemSleeping = false;
    bool m_screenSaverActive = false;
    bool m_asleep = false;
};

} // namespace veilora
