#include "OnboardingView.h"

#include "app/OnboardingParts.h"
#include "controls/PillButton.h"
#include "localization/L10n.h"
#include "platform/CameraAuthorization.h"
#include "platform/MainThread.h"
#include "settings/AppIconView.h"
#include "settings/GrantedBadge.h"
#include "settings/SettingsCard.h"
#include "settings/ToneLabel.h"

#include <QHBoxLayout>
#include <QPointer>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

constexpr int bodyLineSpacing = 3;

ToneLabel *centred(ToneLabel *label)
{
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setWordWrap(true);
    return label;
}

ToneLabel *pageTitle()
{
    return centred(new ToneLabel(QString(), 18, QFont::Bold, Theme::Tone::primary));
}

ToneLabel *pageBody()
{
    return centred(new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary));
}

QVBoxLayout *pageLayout(QWidget *page)
{
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    return layout;
}

} // namespace

OnboardingView::OnboardingView(CameraAuthorization &camera, Actions actions, QWidget *parent)
    : QWidget(parent)
    , m_camera(camera)
    , m_actions(std::move(actions))
    , m_pages(new QStackedWidget)
    , m_dots(new PageDots)
    , m_statusTimer(new QTimer(this))
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 28, 28, 18);
    layout->setSpacing(0);
    m_pages->addWidget(makeWelcomePage());
    m_pages->addWidget(makePermissionPage());
    m_pages->addWidget(makeTutorialPage());
    layout->addWidget(m_pages, 1);
    layout->addSpacing(16);
    layout->addWidget(m_dots, 0, Qt::AlignHCenter);

    m_statusTimer->setInterval(statusInterval);
    connect(m_statusTimer, &QTimer::timeout, this, [this] {
        refreshStatus();
        if (m_page == permission && cameraGranted())
            showPage(tutorial);
    });
    m_statusTimer->start();
    connect(&L10n::shared(), &L10n::languageChanged, this, &OnboardingView::retranslate);
    retranslate();
    refreshStatus();
    showPage(welcome);
}

QWidget *OnboardingView::makeWelcomePage()
{
    auto *page = new QWidget;
    QVBoxLayout *layout = pageLayout(page);
    layout->addStretch(1);
    layout->addWidget(new AppIconView(88), 0, Qt::AlignHCenter);
    layout->addSpacing(16);
    layout->addWidget(
        centred(new ToneLabel(QStringLiteral("Veilora"), 20, QFont::Bold, Theme::Tone::primary)));
    layout->addSpacing(4);
    m_tagline = centred(new ToneLabel(QString(), 13, QFont::Medium, Theme::Tone::primary));
    layout->addWidget(m_tagline);
    layout->addSpacing(14);
    m_welcomeBody = pageBody();
    layout->addWidget(m_welcomeBody);
    layout->addStretch(1);
    m_welcomeContinue = Onboarding::makePrimaryButton();
    connect(m_welcomeContinue, &QAbstractButton::clicked, this,
            [this] { showPage(cameraGranted() ? tutorial : permission); });
    layout->addWidget(m_welcomeContinue);
    return page;
}

QWidget *OnboardingView::makePermissionPage()
{
    auto *page = new QWidget;
    QVBoxLayout *layout = pageLayout(page);
    layout->addStretch(1);
    m_permTitle = pageTitle();
    layout->addWidget(m_permTitle);
    layout->addSpacing(6);
    m_permBody = pageBody();
    layout->addWidget(m_permBody);
    layout->addSpacing(22);

    auto *card = new SettingsCard;
    auto *rowWidget = new QWidget;
    auto *row = new QHBoxLayout(rowWidget);
    row->setContentsMargins(12, 12, 12, 12);
    row->setSpacing(12);
    m_chip = new PermissionChip;
    row->addWidget(m_chip, 0, Qt::AlignVCenter);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(2);
    m_cameraTitle = new ToneLabel(QString(), 13, QFont::Medium, Theme::Tone::primary);
    m_cameraWhy = new ToneLabel(QString(), 11, QFont::Normal, Theme::Tone::secondary);
    m_cameraWhy->setWordWrap(true);
    texts->addWidget(m_cameraTitle);
    texts->addWidget(m_cameraWhy);
    row->addLayout(texts, 1);
    m_granted = new ToneLabel(QString(), 11, QFont::Medium, Theme::Tone::primary);
    m_granted->setFixedColor(GrantedBadge::green());
    row->addWidget(m_granted, 0, Qt::AlignVCenter);
    m_grant = new PillButton(QString(), true);
    m_grant->setFixedHeight(28);
    connect(m_grant, &QAbstractButton::clicked, this, &OnboardingView::grant);
    row->addWidget(m_grant, 0, Qt::AlignVCenter);
    card->addRow(rowWidget);
    layout->addWidget(card);
    layout->addStretch(1);

    // The button and the waiting line take turns in one place at least as high as
    // the button, so nothing below moves when access arrives.
    auto *slot = new QWidget;
    slot->setMinimumHeight(36);
    auto *slotLayout = new QVBoxLayout(slot);
    slotLayout->setContentsMargins(0, 0, 0, 0);
    m_permissionContinue = Onboarding::makePrimaryButton();
    connect(m_permissionContinue, &QAbstractButton::clicked, this, [this] { showPage(tutorial); });
    slotLayout->addWidget(m_permissionContinue);
    // The dots sit above the text, which may wrap in longer languages.
    m_waiting = new QWidget;
    auto *waiting = new QVBoxLayout(m_waiting);
    waiting->setContentsMargins(0, 0, 0, 0);
    waiting->setSpacing(6);
    m_waitingDots = new WaitingDots;
    waiting->addWidget(m_waitingDots, 0, Qt::AlignHCenter);
    m_waitingLabel = centred(new ToneLabel(QString(), 11, QFont::Normal, Theme::Tone::tertiary));
    waiting->addWidget(m_waitingLabel);
    slotLayout->addWidget(m_waiting, 0, Qt::AlignVCenter);
    layout->addWidget(slot);

    layout->addSpacing(6);
    m_help = new PlainButton(QString());
    connect(m_help, &QAbstractButton::clicked, this, [this] {
        if (m_actions.showCameraHelp)
            m_actions.showCameraHelp(window());
    });
    layout->addWidget(m_help, 0, Qt::AlignHCenter);
    return page;
}

QWidget *OnboardingView::makeTutorialPage()
{
    auto *page = new QWidget;
    QVBoxLayout *layout = pageLayout(page);
    layout->addStretch(1);
    m_tutTitle = pageTitle();
    layout->addWidget(m_tutTitle);
    layout->addSpacing(6);
    m_tutBody = pageBody();
    layout->addWidget(m_tutBody);
    layout->addSpacing(22);

    auto *card = new SettingsCard;
    auto *hints = new QWidget;
    auto *lines = new QVBoxLayout(hints);
    lines->setContentsMargins(14, 14, 14, 14);
    lines->setSpacing(12);
    const char *symbols[] = {"person.fill.checkmark", "eye.slash.fill", "person.crop.circle.fill"};
    for (int i = 0; i < 3; ++i) {
        auto *line = new QHBoxLayout;
        line->setSpacing(8);
        line->addWidget(new HintSymbol(QString::fromLatin1(symbols[i])), 0, Qt::AlignTop);
        m_hints[i] = new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary);
        m_hints[i]->setWordWrap(true);
        line->addWidget(m_hints[i], 1);
        lines->addLayout(line);
    }
    card->addRow(hints);
    layout->addWidget(card);
    layout->addStretch(1);

    m_enroll = Onboarding::makePrimaryButton();
    connect(m_enroll, &QAbstractButton::clicked, this, [this] {
        if (m_actions.enroll)
            m_actions.enroll();
    });
    layout->addWidget(m_enroll);
    return page;
}

void OnboardingView::showPage(Page page)
{
    m_page = page;
    m_pages->setCurrentIndex(int(page));
    m_dots->setCurrent(int(page));
    Q_EMIT pageChanged(page);
}

bool OnboardingView::cameraGranted() const
{
    return m_camera.status() == CameraAuthorization::Status::authorized;
}

void OnboardingView::grant()
{
    using Status = CameraAuthorization::Status;
    const Status status = m_camera.status();
    // Asking again cannot undo a refusal or a system rule; the help says what can.
    if (status == Status::denied || status == Status::restricted) {
        if (m_actions.showCameraHelp)
            m_actions.showCameraHelp(window());
        return;
    }
    m_camera.requestAccess([view = QPointer(this)](bool) {
        runOnMain(view, [](OnboardingView *alive) { alive->refreshStatus(); });
    });
}

void OnboardingView::refreshStatus()
{
    const bool granted = cameraGranted();
    m_chip->setGranted(granted);
    m_granted->setVisible(granted);
    m_grant->setVisible(!granted);
    m_permissionContinue->setVisible(granted);
    m_waiting->setVisible(!granted);
}

void OnboardingView::retranslate()
{
    m_tagline->setText(text("onb.tagline"));
    Onboarding::setSpacedText(m_welcomeBody, text("onb.welcomeBody"), bodyLineSpacing);
    m_welcomeContinue->setButtonTitle(text("onb.continue"));

    m_permTitle->setText(text("onb.permTitle"));
    Onboarding::setSpacedText(m_permBody, text("onb.permBody"), bodyLineSpacing);
    m_cameraTitle->setText(text("perm.camera"));
    m_cameraWhy->setText(text("perm.cameraWhy"));
    m_granted->setText(text("perm.granted"));
    m_grant->setButtonTitle(text("common.grant"));
    m_permissionContinue->setButtonTitle(text("onb.continue"));
    m_waitingLabel->setText(text("onb.waiting"));
    m_help->setText(text("onb.openSettings"));
    m_help->updateGeometry();

    m_tutTitle->setText(text("onb.tutTitle"));
    Onboarding::setSpacedText(m_tutBody, text("onb.tutBody"), bodyLineSpacing);
    const char *hints[] = {"onb.tutEnroll", "onb.tutAway", "onb.tutReturn"};
    for (int i = 0; i < 3; ++i)
        m_hints[i]->setText(text(hints[i]));
    m_enroll->setButtonTitle(text("onb.enrollCta"));
}

} // namespace veilora
