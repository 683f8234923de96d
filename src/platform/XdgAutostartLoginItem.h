#pragma once

#include "LoginItem.h"

namespace veilora {

// Start at login through an XDG autostart entry,
// $XDG_CONFIG_HOME/autostart/<application identifier>.desktop, which every
// freedesktop.org session (GNOME, KDE, Xfce, LXQt, …) runs at login.
// Registering writes the entry afresh, so it always starts the program that is
// running now; unregistering removes it.
class XdgAutostartLoginItem : public LoginItem
{
public:
    explicit XdgAutostartLoginItem(QString entryPath = defaultEntryPath(), QString program = QString());

    static QString defaultEntryPath();

    std::optional<QString> setRegistered(bool registered) override;
    bool isRegistered() const override;

    QString entryPath() const { return m_entryPath; }

private:
    std::optional<QString> writeEntry() const;

    QString m_entryPath;
    QString m_program; // empty: the running program
};

} // namespace veilora
