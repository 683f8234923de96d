#pragma once

#include "SettingsTab.h"

#include <QWidget>

#include <map>

namespace veilora {

class SettingsRouter;
class SidebarRow;
class ToneLabel;

// The settings window's tab list: a "Settings" header, one row per tab with
// dividers between the groups, and the product's icon, name and version at the
// foot. It is one keyboard stop: Up and Down (Home, End) move between the tabs.
class TesterModel;

class SettingsSidebar : public QWidget
{
    Q_OBJECT
public:
    static constexpr int sidebarWidth = 212;

    // With a tester model the footer's icon also takes the tester-mode gesture.
    explicit SettingsSidebar(SettingsRouter &router, TesterModel *tester = nullptr,
                             QWidget *parent = nullptr);

    SidebarRow *row(SettingsTab tab) const;
    void retranslate();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void select(SettingsTab tab);
    void showSelection();
    void showFocusRing(bool visible);

    SettingsRouter &m_router;
    ToneLabel *m_header;
    std::map<SettingsTab, SidebarRow *> m_rows;
    bool m_focusRing = false;
};

} // namespace veilora
