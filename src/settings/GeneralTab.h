#pragma once

#include "SettingsServices.h"
#include "controls/ControlWrappers.h"

#include <QWidget>

#include <memory>

class QAbstractButton;

namespace veilora {

class FooterNote;
class SettingsRow;
class ToggleSwitch;
class ToneLabel;

// The General tab: protection, grace delay and face enrollment over the guard;
// interface language and launch at login over the application settings. It
// stores nothing itself: every control shows the model's current value and
// writes straight through, and the tab refreshes in place whenever the guard,
// the settings or the language change, so keyboard focus stays where it was.
class GeneralTab : public QWidget
{
    Q_OBJECT
public:
    explicit GeneralTab(SettingsServices services, QWidget *parent = nullptr);
    ~GeneralTab() override;

    // Presents the enrollment sheet over the window (when the application offers one).
    void showEnroll();

    ToggleSwitch *protectionSwitch() const { return m_protection; }
    PulldownPill *graceDropdown() const { return m_grace->pill(); }
    PillButton *deleteButton() const { return m_delete->button(); }
    PillButton *enrollButton() const { return m_enroll->button(); }
    ToneLabel *cameraWarning() const { return m_cameraWarning; }
    PulldownPill *languageDropdown() const { return m_language->pill(); }
    ToggleSwitch *launchAtLoginSwitch() const { return m_launchAtLogin; }

private:
    QWidget *makeProtectionCard();
    QWidget *makeApplicationCard();
    void refresh();
    VLDropdown<QString> graceDropdownValue() const;
    VLDropdown<QString> languageDropdownValue();
    void chooseLanguage(const QString &code);

    SettingsServices m_services;
    SettingsRow *m_protectionRow = nullptr;
    SettingsRow *m_graceRow = nullptr;
    SettingsRow *m_faceRow = nullptr;
    SettingsRow *m_languageRow = nullptr;
    SettingsRow *m_launchRow = nullptr;
    ToggleSwitch *m_protection = nullptr;
    std::unique_ptr<VLDropdown<QString>::View> m_grace;
    std::unique_ptr<VLPillButton::View> m_delete;
    std::unique_ptr<VLPillButton::View> m_enroll;
    ToneLabel *m_cameraWarning = nullptr;
    FooterNote *m_footer = nullptr;
    std::unique_ptr<VLDropdown<QString>::View> m_language;
    ToggleSwitch *m_launchAtLogin = nullptr;
};

} // namespace veilora
