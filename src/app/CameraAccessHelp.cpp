#include "CameraAccessHelp.h"

#include "app/CameraAccessHelpLauncher.h"
#include "controls/PillButton.h"
#include "localization/L10n.h"
#include "platform/BundleInfo.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/MainThread.h"
#include "platform/UserDefaults.h"
#include "settings/AppIconView.h"
#include "settings/GrantedBadge.h"
#include "settings/Theme.h"
#include "settings/ToneLabel.h"

#include <QClipboard>
#include <QDir>
#include <QEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <pwd.h>
#include <unistd.h>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

QString currentUserName()
{
    if (const passwd *entry = getpwuid(getuid()))
        return QString::fromLocal8Bit(entry->pw_name);
    return qEnvironmentVariable("USER");
}

// A command to type into a terminal, on a faint rounded field.
class CommandField : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Theme::cardBorder(palette()), 1));
        painter.setBrush(Theme::cardFill(palette()));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    }
};

const QString pkexec = QStringLiteral("pkexec");
const QString privacySettings = QStringLiteral("gnome-control-center");

QPointer<CameraAccessHelp> &openHelp()
{
    static QPointer<CameraAccessHelp> help;
    return help;
}

} // namespace

CameraObstacle obstacleFor(const CameraFacts &facts)
{
    using Status = CameraAuthorization::Status;
    if (facts.sandboxed)
        return facts.status == Status::authorized ? CameraObstacle::none : CameraObstacle::portalRefused;
    if (!facts.cameraPresent)
        return CameraObstacle::noCamera;
    if (facts.devicesInaccessible)
        return CameraObstacle::notInVideoGroup;
    switch (facts.status) {
    case Status::authorized:
        return CameraObstacle::none;
    case Status::notDetermined:
        return CameraObstacle::notAsked;
    case Status::denied:
    case Status::restricted:
        break;
    }
    return CameraObstacle::consentRefused;
}

CameraHelpContext CameraHelpContext::live()
{
    CameraHelpContext context;
    context.facts = [] {
        CameraFacts facts;
        facts.sandboxed = LinuxCameraAuthorization::isSandboxed();
        if (!facts.sandboxed) {
            facts.cameraPresent = !QDir(QStringLiteral("/dev"))
                                       .entryList({QStringLiteral("video*")}, QDir::System | QDir::Files)
                                       .isEmpty();
            facts.devicesInaccessible = LinuxCameraAuthorization::shared().devicesInaccessible();
        }
        facts.status = LinuxCameraAuthorization::shared().status();
        return facts;
    };
    context.camera = &LinuxCameraAuthorization::shared();
    context.allowCamera = [] {
        UserDefaults::standard().setBool(QLatin1String(LinuxCameraAuthorization::consentKey), true);
    };
    context.launcher = &CameraAccessHelpLauncher::system();
    context.userName = currentUserName();
    context.applicationId = qEnvironmentVariable(
        "FLATPAK_ID", BundleInfo::main().identifier().value_or(QStringLiteral("com.norvane.privacy-shield")));
    return context;
}

CameraAccessHelp::CameraAccessHelp(CameraHelpContext context, QWidget *parent)
    : QDialog(parent)
    , m_context(std::move(context))
    , m_title(new ToneLabel(QString(), 15, QFont::Bold, Theme::Tone::primary))
    , m_body(new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary))
    , m_commandIntro(new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary))
    , m_commandRow(new QWidget)
    , m_commandField(new CommandField)
    , m_command(new QLabel)
    , m_result(new ToneLabel(QString(), 12, QFont::Medium, Theme::Tone::primary))
    , m_copy(new PillButton(QString(), false))
    , m_allow(new PillButton(QString(), true))
    , m_addToGroup(new PillButton(QString(), true))
    , m_openSettings(new PillButton(QString(), true))
    , m_askNow(new PillButton(QString(), true))
    , m_askAgain(new PillButton(QString(), false))
    , m_close(new PillButton(QString(), false))
{
    Q_ASSERT(m_context.facts && m_context.launcher);
    setObjectName(QStringLiteral("cameraAccessHelp"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowIcon(AppIconView::icon());
    setFixedWidth(windowWidth);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 20, 22, 18);
    layout->setSpacing(0);

    auto *header = new QHBoxLayout;
    header->setSpacing(14);
    header->addWidget(new AppIconView(40), 0, Qt::AlignTop);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(6);
    for (ToneLabel *label : {m_title, m_body, m_commandIntro}) {
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        texts->addWidget(label);
    }
    header->addLayout(texts, 1);
    layout->addLayout(header);

    auto *field = new QHBoxLayout(m_commandField);
    field->setContentsMargins(10, 5, 5, 5);
    field->setSpacing(8);
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPixelSize(12);
    m_command->setFont(mono);
    m_command->setTextFormat(Qt::PlainText);
    m_command->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A long application name breaks at a space rather than running under the button.
    m_command->setWordWrap(true);
    field->addWidget(m_command, 1);
    field->addWidget(m_copy, 0, Qt::AlignVCenter);
    // Indented past the icon, so that the command and what is reported line up with the texts.
    auto *commandRow = new QHBoxLayout(m_commandRow);
    commandRow->setContentsMargins(54, 12, 0, 0);
    commandRow->addWidget(m_commandField);
    layout->addWidget(m_commandRow);

    m_result->setWordWrap(true);
    m_result->setContentsMargins(54, 12, 0, 0);
    layout->addWidget(m_result);

    layout->addSpacing(20);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    for (PillButton *button : {m_close, m_askAgain, m_askNow, m_openSettings, m_allow, m_addToGroup}) {
        button->setFixedHeight(30);
        buttons->addWidget(button);
    }
    layout->addLayout(buttons);

    connect(m_copy, &QAbstractButton::clicked, this, &CameraAccessHelp::copyCommand);
    connect(m_allow, &QAbstractButton::clicked, this, [this] {
        m_context.allowCamera();
        refresh();
    });
    connect(m_addToGroup, &QAbstractButton::clicked, this, &CameraAccessHelp::addToVideoGroup);
    connect(m_openSettings, &QAbstractButton::clicked, this, &CameraAccessHelp::openPrivacySettings);
    connect(m_askNow, &QAbstractButton::clicked, this, &CameraAccessHelp::ask);
    connect(m_askAgain, &QAbstractButton::clicked, this, &CameraAccessHelp::ask);
    connect(m_close, &QAbstractButton::clicked, this, &QWidget::close);
    connect(&L10n::shared(), &L10n::languageChanged, this, &CameraAccessHelp::retranslate);
    refresh();
}

CameraAccessHelp::~CameraAccessHelp() = default;

PillButton *CameraAccessHelp::askButton() const
{
    return m_askAgain->isVisibleTo(this) ? m_askAgain : m_askNow;
}

CameraAccessHelp *CameraAccessHelp::present(CameraHelpContext context, QWidget *parent)
{
    QPointer<CameraAccessHelp> &help = openHelp();
    // A closed help lingers until its deletion; a new one takes its place.
    if (!help || !help->isVisible())
        help = new CameraAccessHelp(std::move(context), parent);
    else
        help->refresh();
    help->show();
    help->raise();
    help->activateWindow();
    return help;
}

CameraAccessHelp *CameraAccessHelp::current()
{
    return openHelp();
}

bool CameraAccessHelp::event(QEvent *event)
{
    // Back from a terminal or the desktop's settings: something may have changed.
    if (event->type() == QEvent::WindowActivate)
        refresh();
    return QDialog::event(event);
}

void CameraAccessHelp::refresh()
{
    const CameraObstacle now = obstacleFor(m_context.facts());
    if (m_shown && now == m_obstacle)
        return;
    m_shown = true;
    showObstacle(now);
}

QString CameraAccessHelp::command() const
{
    switch (m_obstacle) {
    case CameraObstacle::notInVideoGroup:
        return QStringLiteral("sudo usermod -aG video ") + m_context.userName;
    case CameraObstacle::portalRefused:
        return QStringLiteral("flatpak permission-reset ") + m_context.applicationId;
    default:
        return {};
    }
}

void CameraAccessHelp::showObstacle(CameraObstacle obstacle)
{
    m_obstacle = obstacle;
    // What was reported belongs to the obstacle before.
    m_result->clear();
    m_result->hide();
    m_addToGroup->setEnabled(true);
    retranslate();
    focusMainAction();
}

// Return and Space act on what the window is about; a copy or a close never comes first.
void CameraAccessHelp::focusMainAction()
{
    for (PillButton *button : {m_addToGroup, m_allow, m_openSettings, m_askNow}) {
        if (button->isVisibleTo(this) && button->isEnabled()) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
    m_close->setFocus(Qt::OtherFocusReason);
}

void CameraAccessHelp::retranslate()
{
    setWindowTitle(text("sub.permissions") + QStringLiteral(" — Veilora"));
    const bool canOpenSettings = m_context.launcher->exists(privacySettings);
    const char *title = "perm.helpAllowedTitle";
    QString body;
    QString intro;
    switch (m_obstacle) {
    case CameraObstacle::noCamera:
        title = "perm.helpNoCameraTitle";
        body = text("perm.helpNoCameraBody");
        break;
    case CameraObstacle::notInVideoGroup:
        title = "perm.helpGroupTitle";
        body = formatText(text("perm.helpGroupBody"), {m_context.userName});
        break;
    case CameraObstacle::consentRefused:
        title = "perm.helpRefusedTitle";
        body = text("perm.helpRefusedBody");
        break;
    case CameraObstacle::portalRefused:
        title = "perm.helpPortalTitle";
        body = text("perm.helpPortalBody");
        if (!canOpenSettings)
            intro = text("perm.helpPortalReset");
        break;
    case CameraObstacle::notAsked:
        title = "perm.helpNotAskedTitle";
        body = text("perm.helpNotAskedBody");
        break;
    case CameraObstacle::none:
        body = text("perm.helpAllowedBody");
        break;
    }
    m_title->setText(text(title));
    m_body->setText(body);
    m_commandIntro->setText(intro);
    m_commandIntro->setVisible(!intro.isEmpty());

    const bool group = m_obstacle == CameraObstacle::notInVideoGroup;
    const bool portal = m_obstacle == CameraObstacle::portalRefused;
    m_command->setText(command());
    m_commandRow->setVisible(group || (portal && !canOpenSettings));
    m_copy->setButtonTitle(text("common.copy"));
    m_allow->setButtonTitle(text("perm.helpAllow"));
    m_allow->setVisible(m_obstacle == CameraObstacle::consentRefused);
    m_addToGroup->setButtonTitle(text("perm.helpAddMe"));
    m_addToGroup->setVisible(group && m_context.launcher->exists(pkexec));
    m_openSettings->setButtonTitle(text("perm.helpOpenSettings"));
    m_openSettings->setVisible(portal && canOpenSettings);
    const bool canAsk = (portal || m_obstacle == CameraObstacle::notAsked) && m_context.camera;
    m_askNow->setButtonTitle(text(portal ? "perm.helpAskAgain" : "perm.helpAskNow"));
    m_askNow->setVisible(canAsk && !(portal && canOpenSettings));
    m_askAgain->setButtonTitle(text("perm.helpAskAgain"));
    m_askAgain->setVisible(canAsk && portal && canOpenSettings);
    const bool nothingToDo = m_obstacle == CameraObstacle::none || m_obstacle == CameraObstacle::noCamera;
    m_close->setButtonTitle(text(nothingToDo ? "common.ok" : "common.close"));
    fitHeight();
}

void CameraAccessHelp::fitHeight()
{
    QLayout *content = layout();
    content->activate();
    const int height = content->hasHeightForWidth() ? content->totalHeightForWidth(windowWidth)
                                                    : content->totalSizeHint().height();
    setFixedHeight(height);
}

void CameraAccessHelp::copyCommand()
{
    QGuiApplication::clipboard()->setText(command());
    m_copy->setButtonTitle(text("perm.helpCopied"));
}

void CameraAccessHelp::addToVideoGroup()
{
    m_addToGroup->setEnabled(false);
    m_context.launcher->run(
        pkexec,
        {QStringLiteral("usermod"), QStringLiteral("-aG"), QStringLiteral("video"), m_context.userName},
        [help = QPointer(this)](bool succeeded) {
            if (!help)
                return;
            help->report(text(succeeded ? "perm.helpAdded" : "perm.helpAddFailed"), succeeded);
            // Until the next login this process keeps its old groups,
            // so a second run would only ask for the password again.
            help->m_addToGroup->setEnabled(!succeeded);
        });
}

void CameraAccessHelp::openPrivacySettings()
{
    if (!m_context.launcher->startDetached(privacySettings, {QStringLiteral("camera")}))
        report(text("perm.helpOpenFailed"), false);
}

void CameraAccessHelp::ask()
{
    m_context.camera->requestAccess([help = QPointer(this)](bool) {
        runOnMain(help, [](CameraAccessHelp *alive) { alive->refresh(); });
    });
}

void CameraAccessHelp::report(const QString &message, bool success)
{
    m_result->setText(message);
    m_result->setFixedColor(success ? GrantedBadge::green() : Theme::warn());
    m_result->show();
    fitHeight();
}

} // namespace veilora
