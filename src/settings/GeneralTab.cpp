#include "GeneralTab.h"

#include "FooterNote.h"
#include "GeneralTabOptions.h"
#include "SettingsCard.h"
#include "SettingsRow.h"
#include "ToggleSwitch.h"
#include "ToneLabel.h"
#include "localization/L10n.h"
#include "settings/AppSettings.h"
#include "settings/GuardModel.h"

#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

// The pills of a row line up when their texts are short.
constexpr int dropdownMinimumWidth = 112;
constexpr int buttonHeight = 30;

} // namespace

GeneralTab::GeneralTab(SettingsServices services, QWidget *parent)
    : QWidget(parent)
    , m_services(std::move(services))
{
    Q_ASSERT(m_services.isComplete());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    layout->addWidget(makeProtectionCard());
    m_cameraWarning = new ToneLabel(QString(), 11, QFont::Normal, Theme::Tone::primary);
    m_cameraWarning->setFixedColor(Theme::warn());
    m_cameraWarning->setWordWrap(true);
    m_cameraWarning->setContentsMargins(4, 6, 4, 0);
    layout->addWidget(m_cameraWarning);
    m_footer = new FooterNote(QString());
    layout->addWidget(m_footer);

    layout->addSpacing(18);
    layout->addWidget(makeApplicationCard());

    connect(m_services.guard, &GuardModel::changed, this, &GeneralTab::refresh);
    connect(m_services.settings, &AppSettings::changed, this, &GeneralTab::refresh);
    connect(&L10n::shared(), &L10n::languageChanged, this, &GeneralTab::refresh);
    refresh();
}

GeneralTab::~GeneralTab() = default;

QWidget *GeneralTab::makeProtectionCard()
{
    auto *card = new SettingsCard;
    GuardModel *guard = m_services.guard;

    m_protectionRow = new SettingsRow(QString(), QString());
    m_protection = new ToggleSwitch;
    connect(m_protection, &QAbstractButton::toggled, this, [guard](bool on) { guard->setEnabled(on); });
    m_protectionRow->addLabelledControl(m_protection);
    card->addRow(m_protectionRow);

    card->addDivider();
    m_graceRow = new SettingsRow(QString(), QString());
    m_grace = std::make_unique<VLDropdown<QString>::View>(graceDropdownValue(), m_graceRow);
    m_grace->pill()->setMinimumWidth(dropdownMinimumWidth);
    m_graceRow->addLabelledControl(m_grace->pill());
    card->addRow(m_graceRow);

    card->addDivider();
    m_faceRow = new SettingsRow(QString(), QString());
    m_delete = std::make_unique<VLPillButton::View>(
        VLPillButton{text("pg.delete"), false, [guard] { guard->deleteEnrollment(); }}, m_faceRow);
    m_delete->button()->setFixedHeight(buttonHeight);
    m_enroll = std::make_unique<VLPillButton::View>(
        VLPillButton{text("pg.enroll"), false, [this] { showEnroll(); }}, m_faceRow);
    m_enroll->button()->setFixedHeight(buttonHeight);
    m_faceRow->addControl(m_delete->button());
    m_faceRow->addControl(m_enroll->button());
    card->addRow(m_faceRow);
    return card;
}

QWidget *GeneralTab::makeApplicationCard()
{
    auto *card = new SettingsCard;
    AppSettings *settings = m_services.settings;

    m_languageRow = new SettingsRow(QString(), QString());
    m_language = std::make_unique<VLDropdown<QString>::View>(languageDropdownValue(), m_languageRow);
    m_language->pill()->setMinimumWidth(dropdownMinimumWidth);
    m_languageRow->addLabelledControl(m_language->pill());
    card->addRow(m_languageRow);

    card->addDivider();
    m_launchRow = new SettingsRow(QString(), std::nullopt);
    m_launchAtLogin = new ToggleSwitch;
    connect(m_launchAtLogin, &QAbstractButton::toggled, this,
            [settings](bool on) { settings->setLaunchAtLogin(on); });
    m_launchRow->addLabelledControl(m_launchAtLogin);
    card->addRow(m_launchRow);
    return card;
}

VLDropdown<QString> GeneralTab::graceDropdownValue() const
{
    GuardModel *guard = m_services.guard;
    const int seconds = guard->graceSeconds();
    // A delay that is none of the choices (set on another computer) is shown as
    // an extra entry, so the pill tells the truth and nothing is rewritten.
    return {graceOptionsShowing(seconds),
            {[guard] { return QString::number(guard->graceSeconds()); },
             [guard](const QString &value) { guard->setGraceSeconds(graceSecondsFromValue(value)); }}};
}

VLDropdown<QString> GeneralTab::languageDropdownValue()
{
    AppSettings *settings = m_services.settings;
    return {languagePicker(),
            {[settings] { return settings->languageCode().value_or(QString()); },
             [this](const QString &code) { chooseLanguage(code); }}};
}

void GeneralTab::chooseLanguage(const QString &code)
{
    const std::optional<QString> chosen = code.isEmpty() ? std::nullopt : std::optional(code);
    m_services.settings->setLanguageCode(chosen);
    L10n::shared().apply(chosen);
}

void GeneralTab::showEnroll()
{
    if (m_services.presentEnrollment)
        m_services.presentEnrollment(window());
}

void GeneralTab::refresh()
{
    const GuardModel &guard = *m_services.guard;
    const AppSettings &settings = *m_services.settings;

    m_protectionRow->setTitle(text("pg.enable"));
    m_protectionRow->setSubtitle(text("pg.enableSub"));
    m_protection->showChecked(guard.enabledPref());
    m_protection->setEnabled(guard.enrolled());
    // Says why the switch does not move.
    m_protection->setToolTip(guard.enrolled() ? QString() : text("pg.faceNotEnrolled"));

    // The wrappers name their controls by their text; the rows re-apply their
    // own titles as the names afterwards.
    m_grace->update(graceDropdownValue());
    m_graceRow->setTitle(text("pg.grace"));
    m_graceRow->setSubtitle(text("pg.graceSub"));

    m_faceRow->setTitle(text("pg.face"));
    m_faceRow->setSubtitle(text(guard.enrolled() ? "pg.faceEnrolled" : "pg.faceNotEnrolled"));
    GuardModel *model = m_services.guard;
    m_delete->update({text("pg.delete"), false, [model] { model->deleteEnrollment(); }});
    m_delete->button()->setVisible(guard.enrolled());
    m_enroll->update({text(guard.enrolled() ? "pg.reenroll" : "pg.enroll"), false, [this] { showEnroll(); }});
    // Without a sheet to present, the button must not pretend to work.
    m_enroll->button()->setEnabled(bool(m_services.presentEnrollment));

    m_cameraWarning->setText(text("pg.camDenied"));
    m_cameraWarning->setVisible(guard.cameraDenied());
    m_footer->setText(text("pg.footer"));

    m_language->update(languageDropdownValue());
    m_languageRow->setTitle(text("gen.language"));
    m_languageRow->setSubtitle(text("gen.languageSub"));

    m_launchRow->setTitle(text("gen.launchLogin"));
    m_launchAtLogin->showChecked(settings.launchAtLogin());
}

} // namespace veilora
