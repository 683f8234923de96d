#pragma once

#include "SettingsServices.h"
#include "controls/VLPillButton.h"

#include <QWidget>

#include <chrono>
#include <memory>

class QTimer;

namespace veilora {

class FooterNote;
class GrantedBadge;
class SettingsRow;

// The Permissions tab: one row for the camera, showing "Granted" once access is
// allowed and a Grant button until then. Grant asks while asking can still help;
// after a refusal, or when the system stands in the way, it explains instead.
// Permission also changes outside the window (another Veilora window, a shell,
// the desktop's settings), so the tab reads it again every second while shown.
class PermissionsTab : public QWidget
{
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds refreshInterval{1000};

    explicit PermissionsTab(SettingsServices services, QWidget *parent = nullptr);
    ~PermissionsTab() override;

    // What the Grant button does.
    void grant();

    PillButton *grantButton() const { return m_grant->button(); }
    GrantedBadge *grantedBadge() const { return m_badge; }
    QTimer *refreshTimer() const { return m_timer; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void refresh();

    SettingsServices m_services;
    SettingsRow *m_cameraRow = nullptr;
    GrantedBadge *m_badge = nullptr;
    std::unique_ptr<VLPillButton::View> m_grant;
    FooterNote *m_footer = nullptr;
    QTimer *m_timer = nullptr;
};

} // namespace veilora
