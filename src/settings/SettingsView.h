#pragma once

#include "SettingsServices.h"
#include "SettingsTab.h"

#include <QPointer>
#include <QWidget>

namespace veilora {

class BlendScrollArea;
class SettingsRouter;
class SettingsSidebar;
class ToneLabel;

// The window's content: the sidebar on the leading side and, beside it, the
// selected tab's title, subtitle and view. Follows the router's tab and the
// interface language.
class SettingsView : public QWidget
{
    Q_OBJECT
public:
    SettingsView(SettingsServices services, SettingsRouter &router, QWidget *parent = nullptr);

    SettingsSidebar *sidebar() const { return m_sidebar; }
    // The view of the tab shown now; replaced on every change of tab.
    QWidget *tabView() const { return m_tabView; }
    QString paneTitle() const;
    QString paneSubtitle() const;

Q_SIGNALS:
    void tabViewChanged(QWidget *view);

private:
    void showTab(SettingsTab tab);
    // Ctrl+PgDown and Ctrl+PgUp: the next or previous tab, wrapping around.
    void stepTab(int step);
    void retranslate();
    QWidget *makeTabView(SettingsTab tab);

    SettingsServices m_services;
    SettingsRouter &m_router;
    SettingsSidebar *m_sidebar;
    ToneLabel *m_title;
    ToneLabel *m_subtitle;
    BlendScrollArea *m_scroller;
    QPointer<QWidget> m_tabView;
};

} // namespace veilora
