#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

#include <optional>

namespace veilora {

// The desktop's light or dark preference. Qt 6.4 does not report it: desktops
// publish it through the freedesktop portal's settings
// ("org.freedesktop.appearance" / "color-scheme"), GNOME's among them, while
// others (KDE) hand the application a dark palette directly.
class DesktopAppearance : public QObject
{
    Q_OBJECT
public:
    enum class Scheme
    {
        noPreference,
        dark,
        light
    };

    virtual Scheme scheme() const = 0;

Q_SIGNALS:
    void schemeChanged(Scheme scheme);
};

// Reads the preference from the portal on the session bus and follows its
// changes. Without a bus or a portal the scheme stays `noPreference`; nothing
// blocks: the first answer arrives asynchronously.
class PortalDesktopAppearance : public DesktopAppearance
{
    Q_OBJECT
public:
    static constexpr const char *service = "org.freedesktop.portal.Desktop";
    static constexpr const char *path = "/org/freedesktop/portal/desktop";
    static constexpr const char *interface = "org.freedesktop.portal.Settings";

    explicit PortalDesktopAppearance(QDBusConnection connection, QObject *parent = nullptr);

    Scheme scheme() const override { return m_scheme; }

    // The portal's number: 1 prefers dark, 2 prefers light, anything else none.
    static Scheme fromPortalValue(const QVariant &value);

private Q_SLOTS:
    void onSettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void setScheme(Scheme scheme);

    QDBusConnection m_connection;
    Scheme m_scheme = Scheme::noPreference;
};

} // namespace veilora
