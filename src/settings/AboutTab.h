#pragma once

#include "SettingsServices.h"
#include "controls/VLPillButton.h"

#include <QWidget>

#include <memory>

class QPushButton;

namespace veilora {

class SettingsRow;
class ToggleSwitch;
class ToneLabel;

// The About tab: the product's icon, name, tagline, version, web page and
// notice; then the automatic-update row (only in builds with an update feed)
// and the crash-report switch.
class AboutTab : public QWidget
{
    Q_OBJECT
public:
    static constexpr const char *webPage = "https://veilora.norvane.com";

    explicit AboutTab(SettingsServices services, QWidget *parent = nullptr);
    ~AboutTab() override;

    // The bundle's short version, or "0.1.0 (dev)".
    static QString version();

    QPushButton *webLink() const { return m_link; }
    PillButton *checkNowButton() const { return m_checkNow ? m_checkNow->button() : nullptr; }
    ToggleSwitch *autoUpdateSwitch() const { return m_autoUpdate; }
    ToggleSwitch *crashReportsSwitch() const { return m_crashReports; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refresh();

    SettingsServices m_services;
    ToneLabel *m_tagline = nullptr;
    ToneLabel *m_version = nullptr;
    QPushButton *m_link = nullptr;
    ToneLabel *m_notice = nullptr;
    SettingsRow *m_updateRow = nullptr;
    std::unique_ptr<VLPillButton::View> m_checkNow;
    ToggleSwitch *m_autoUpdate = nullptr;
    SettingsRow *m_crashRow = nullptr;
    ToggleSwitch *m_crashReports = nullptr;
};

} // namespace veilora
