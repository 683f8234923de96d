#pragma once

#include "SettingsServices.h"
#include "SettingsTab.h"

#include <QObject>
#include <QPointer>

#include <optional>

namespace veilora {

class SettingsRouter;
class SettingsWindow;

// Opens the settings window, or brings it forward. The window exists only
// while it is open: closing it deletes it with all its views, and the next
// show() builds a new one on the router's tab. Main thread only.
class SettingsWindowController : public QObject
{
    Q_OBJECT
public:
    explicit SettingsWindowController(SettingsServices services = {}, SettingsRouter *router = nullptr,
                                      QObject *parent = nullptr);

    // Over SettingsRouter::shared(); the application hands in its services once
    // at start-up with setServices() before the first show().
    static SettingsWindowController &shared();

    void setServices(SettingsServices services);

    // Selects `tab` first when one is given, then opens the window centred on
    // the screen under the pointer, or raises the open one, and activates it.
    void show(std::optional<SettingsTab> tab = std::nullopt);

    // The open window, or null.
    SettingsWindow *window() const;

private:
    SettingsServices m_services;
    SettingsRouter &m_router;
    QPointer<SettingsWindow> m_window;
};

} // namespace veilora
