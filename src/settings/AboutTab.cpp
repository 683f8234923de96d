#include "AboutTab.h"

#include "AppIconView.h"
#include "AppSettings.h"
#include "SettingsCard.h"
#include "SettingsRow.h"
#include "Theme.h"
#include "ToggleSwitch.h"
#include "ToneLabel.h"
#include "UpdaterModel.h"
#include "localization/L10n.h"
#include "platform/BundleInfo.h"
#include "platform/WebBrowser.h"

#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

constexpr int iconSize = 72;
constexpr int checkNowHeight = 26;

} // namespace

AboutTab::AboutTab(SettingsServices services, QWidget *parent)
    : QWidget(parent)
    , m_services(std::move(services))
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *header = new QWidget;
    auto *stack = new QVBoxLayout(header);
    stack->setContentsMargins(0, 26, 0, 16);
    stack->setSpacing(10);
    stack->addWidget(new AppIconView(iconSize), 0, Qt::AlignHCenter);
    stack->addWidget(new ToneLabel(QStringLiteral("Veilora"), 20, QFont::Bold, Theme::Tone::primary), 0,
                     Qt::AlignHCenter);
    m_tagline = new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary);
    m_version = new ToneLabel(QString(), 11, QFont::Normal, Theme::Tone::tertiary);
    m_version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const QUrl page(QString::fromLatin1(webPage));
    m_link = new QPushButton(page.host());
    m_link->setFlat(true);
    m_link->setCursor(Qt::PointingHandCursor);
    m_link->setObjectName(QStringLiteral("aboutWebLink"));
    QFont linkFont = m_link->font();
    linkFont.setPixelSize(12);
    m_link->setFont(linkFont);
    m_link->setStyleSheet(
        QStringLiteral("QPushButton { border: none; color: %1; padding: 0; }").arg(Theme::accent().name()));
    connect(m_link, &QPushButton::clicked, this, [page] { openInWebBrowser(page); });
    m_notice = new ToneLabel(QString(), 11, QFont::Normal, Theme::Tone::tertiary);
    for (QWidget *line : {static_cast<QWidget *>(m_tagline), static_cast<QWidget *>(m_version),
                          static_cast<QWidget *>(m_link), static_cast<QWidget *>(m_notice)})
        stack->addWidget(line, 0, Qt::AlignHCenter);
    layout->addWidget(header);

    auto *card = new SettingsCard;
    if (UpdaterModel *updater = m_services.updater) {
        m_updateRow = new SettingsRow(QString(), QString());
        m_checkNow = std::make_unique<VLPillButton::View>(
            VLPillButton{QString(), false, [updater] { updater->checkForUpdates(); }}, m_updateRow);
        m_checkNow->button()->setFixedHeight(checkNowHeight);
        m_autoUpdate = new ToggleSwitch;
        connect(m_autoUpdate, &QAbstractButton::toggled, this,
                [updater](bool on) { updater->setAutomaticallyChecksForUpdates(on); });
        m_updateRow->addControl(m_checkNow->button());
        m_updateRow->addLabelledControl(m_autoUpdate);
        card->addRow(m_updateRow);
        card->addDivider();
    }
    m_crashRow = new SettingsRow(QString(), QString());
    m_crashReports = new ToggleSwitch;
    AppSettings *settings = m_services.settings;
    connect(m_crashReports, &QAbstractButton::toggled, this,
            [settings](bool on) { settings->setCrashReportingEnabled(on); });
    m_crashRow->addLabelledControl(m_crashReports);
    card->addRow(m_crashRow);
    layout->addWidget(card);

    connect(&L10n::shared(), &L10n::languageChanged, this, &AboutTab::refresh);
    connect(settings, &AppSettings::changed, this, &AboutTab::refresh);
    refresh();
}

AboutTab::~AboutTab() = default;

QString AboutTab::version()
{
    return BundleInfo::main().shortVersion().value_or(QStringLiteral("0.1.0 (dev)"));
}

void AboutTab::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The updater keeps the setting; read it back each time the tab appears.
    refresh();
}

void AboutTab::refresh()
{
    m_tagline->setText(text("about.tagline"));
    m_version->setText(text("about.version").replace(QStringLiteral("%@"), version()));
    m_notice->setText(text("about.copyright"));
    if (UpdaterModel *updater = m_services.updater) {
        m_updateRow->setTitle(text("gen.autoUpdate"));
        m_updateRow->setSubtitle(text("gen.autoUpdateSub"));
        m_checkNow->update({text("common.checkNow"), false, [updater] { updater->checkForUpdates(); }});
        m_autoUpdate->showChecked(updater->automaticallyChecksForUpdates());
    }
    m_crashRow->setTitle(text("gen.crashReports"));
    m_crashRow->setSubtitle(text("gen.crashReportsSub"));
    m_crashReports->showChecked(m_services.settings->crashReportingEnabled());
}

} // namespace veilora
