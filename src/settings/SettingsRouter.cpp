#include "SettingsRouter.h"

namespace veilora {

SettingsRouter::SettingsRouter(QObject *parent)
    : QObject(parent)
{}

SettingsRouter &SettingsRouter::shared()
{
    static SettingsRouter router;
    return router;
}

void SettingsRouter::setSelectedTab(SettingsTab tab)
{
    if (tab == m_selectedTab)
        return;
    m_selectedTab = tab;
    Q_EMIT selectedTabChanged(tab);
}

} // namespace veilora
