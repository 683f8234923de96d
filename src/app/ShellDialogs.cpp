#include "ShellDialogs.h"

#include "app/MenuBarIcon.h"
#include "localization/L10n.h"
#include "platform/BundleInfo.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QPalette>
#include <QPointer>
#include <QPushButton>

#include <pwd.h>
#include <unistd.h>

namespace veilora::ShellDialogs {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

// Raises the box already open under `name`, or makes a new one there.
QMessageBox *openBox(QPointer<QMessageBox> &slot, const char *name, bool *isNew)
{
    *isNew = !slot;
    if (!slot) {
        slot = new QMessageBox;
        slot->setObjectName(QString::fromLatin1(name));
        slot->setAttribute(Qt::WA_DeleteOnClose);
        slot->setWindowModality(Qt::NonModal);
        slot->setWindowTitle(QStringLiteral("Veilora"));
    }
    return slot;
}

void present(QMessageBox *box)
{
    box->show();
    box->raise();
    box->activateWindow();
}

QString userName()
{
    if (const passwd *entry = getpwuid(getuid()))
        return QString::fromLocal8Bit(entry->pw_name);
    return qEnvironmentVariable("USER", QStringLiteral("$USER"));
}

} // namespace

void showAboutPanel(const BundleInfo &bundle)
{
    static QPointer<QMessageBox> slot;
    bool isNew = false;
    QMessageBox *box = openBox(slot, "aboutPanel", &isNew);
    if (isNew) {
        box->setWindowTitle(text("menu.about"));
        QString version = bundle.shortVersion().value_or(QStringLiteral("?"));
        if (const auto build = bundle.buildVersion())
            version += QStringLiteral(" (") + *build + u')';
        box->setTextFormat(Qt::RichText);
        box->setText(QStringLiteral("<b>Veilora</b><br>") +
                     formatText(text("about.version"), {version}).toHtmlEscaped());
        const qreal ratio = box->devicePixelRatioF();
        const QIcon themed = QIcon::fromTheme(QStringLiteral("veilora"));
        box->setIconPixmap(themed.isNull() ? QPixmap::fromImage(MenuBarIcon::render(
                                                 MenuBarIcon::State::active, 64, ratio,
                                                 QGuiApplication::palette().color(QPalette::WindowText)))
                                           : themed.pixmap(QSize(64, 64), ratio));
        box->setStandardButtons(QMessageBox::Ok);
    }
    present(box);
}

void showNoTrayNotice(std::function<void()> openSettings)
{
    static QPointer<QMessageBox> slot;
    bool isNew = false;
    QMessageBox *box = openBox(slot, "noTrayNotice", &isNew);
    if (isNew) {
        box->setIcon(QMessageBox::Information);
        box->setText(text("menu.noTray"));
        QPushButton *settings = box->addButton(text("menu.settings"), QMessageBox::AcceptRole);
        box->addButton(text("common.ok"), QMessageBox::RejectRole);
        QObject::connect(settings, &QPushButton::clicked, box, std::move(openSettings));
    }
    present(box);
}

void showVideoGroupHint()
{
    static QPointer<QMessageBox> slot;
    bool isNew = false;
    QMessageBox *box = openBox(slot, "videoGroupHint", &isNew);
    if (isNew) {
        box->setIcon(QMessageBox::Warning);
        box->setText(formatText(text("perm.videoGroup"), {userName()}));
        box->setTextInteractionFlags(Qt::TextSelectableByMouse);
        box->setStandardButtons(QMessageBox::Ok);
    }
    present(box);
}

} // namespace veilora::ShellDialogs
