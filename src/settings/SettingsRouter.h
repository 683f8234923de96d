#pragma once

#include "SettingsTab.h"

#include <QObject>

namespace veilora {

// The tab the settings window shows. It outlives the window, so reopening shows
// the last tab; it is not stored, so each run starts on General. Main thread only.
class SettingsRouter : public QObject
{
    Q_OBJECT
public:
    explicit SettingsRouter(QObject *parent = nullptr);

    static SettingsRouter &shared();

    SettingsTab selectedTab() const { return m_selectedTab; }
    void setSelectedTab(SettingsTab tab);

Q_SIGNALS:
    // Only when the tab actually changes.
    void selectedTabChanged(veilora::SettingsTab tab);

private:
    SettingsTab m_selectedTab = SettingsTab::general;
};

} // namespace veilora
