#pragma once

#include "SettingsServices.h"
#include "controls/VLPillButton.h"

#include <QWidget>

#include <memory>

namespace veilora {

class FooterNote;
class SettingsRow;
class ToggleSwitch;

// The Account tab: signed out, a row that offers the browser sign-in; signed
// in, the account's e-mail with Sign out and the settings-sync switch. Without
// a keyring it says so instead of offering a sign-in that could not be kept.
class AccountTab : public QWidget
{
    Q_OBJECT
public:
    static constexpr int buttonHeight = 30;

    explicit AccountTab(SettingsServices services, QWidget *parent = nullptr);
    ~AccountTab() override;

    PillButton *signInButton() const { return m_signIn->button(); }
    PillButton *signOutButton() const { return m_signOut->button(); }
    ToggleSwitch *syncSwitch() const { return m_syncSwitch; }
    SettingsRow *signedOutRow() const { return m_signedOutRow; }
    SettingsRow *signedInRow() const { return m_signedInRow; }
    SettingsRow *syncRow() const { return m_syncRow; }

private:
    void refresh();

    SettingsServices m_services;
    // Two rows because the signed-in title is semibold.
    SettingsRow *m_signedOutRow = nullptr;
    SettingsRow *m_signedInRow = nullptr;
    std::unique_ptr<VLPillButton::View> m_signIn;
    std::unique_ptr<VLPillButton::View> m_signOut;
    QWidget *m_syncDivider = nullptr;
    SettingsRow *m_syncRow = nullptr;
    ToggleSwitch *m_syncSwitch = nullptr;
    FooterNote *m_footer = nullptr;
};

} // namespace veilora
