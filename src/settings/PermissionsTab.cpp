#include "PermissionsTab.h"

#include "FooterNote.h"
#include "GrantedBadge.h"
#include "SettingsCard.h"
#include "SettingsRow.h"
#include "localization/L10n.h"
#include "platform/CameraAuthorization.h"
#include "platform/MainThread.h"

#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

constexpr int buttonHeight = 30;

} // namespace

PermissionsTab::PermissionsTab(SettingsServices services, QWidget *parent)
    : QWidget(parent)
    , m_services(std::move(services))
    , m_timer(new QTimer(this))
{
    Q_ASSERT(m_services.cameraAuthorization);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *card = new SettingsCard;
    m_cameraRow = new SettingsRow(QString(), QString());
    m_badge = new GrantedBadge(QString());
    m_grant =
        std::make_unique<VLPillButton::View>(VLPillButton{QString(), true, [this] { grant(); }}, m_cameraRow);
    m_grant->button()->setFixedHeight(buttonHeight);
    m_cameraRow->addControl(m_badge);
    m_cameraRow->addControl(m_grant->button());
    card->addRow(m_cameraRow);
    layout->addWidget(card);
    m_footer = new FooterNote(QString());
    layout->addWidget(m_footer);

    m_timer->setInterval(refreshInterval);
    connect(m_timer, &QTimer::timeout, this, &PermissionsTab::refresh);
    // A hidden tab does nothing: it may be a view on its way out, and showing reads afresh.
    connect(&L10n::shared(), &L10n::languageChanged, this, [this] {
        if (isVisible())
            refresh();
    });
    refresh();
}

PermissionsTab::~PermissionsTab() = default;

void PermissionsTab::grant()
{
    using Status = CameraAuthorization::Status;
    const Status status = m_services.cameraAuthorization->status();
    // Asking again cannot undo a refusal or a system rule; the help says what can.
    if (status == Status::denied || status == Status::restricted) {
        if (m_services.showCameraHelp)
            m_services.showCameraHelp(window());
        return;
    }
    m_services.cameraAuthorization->requestAccess(
        [tab = QPointer(this)](bool) { runOnMain(tab, [](PermissionsTab *alive) { alive->refresh(); }); });
}

void PermissionsTab::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
    m_timer->start();
}

void PermissionsTab::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_timer->stop();
}

void PermissionsTab::refresh()
{
    const bool granted = m_services.cameraAuthorization->status() == CameraAuthorization::Status::authorized;
    m_cameraRow->setTitle(text("perm.camera"));
    m_cameraRow->setSubtitle(text("perm.cameraWhy"));
    m_badge->setText(text("perm.granted"));
    m_badge->setVisible(granted);
    m_grant->update({text("common.grant"), true, [this] { grant(); }});
    m_grant->button()->setVisible(!granted);
    m_footer->setText(text("gen.permFooter"));
}

} // namespace veilora
