#include "StatusItemController.h"

#include "app/ShellDialogs.h"
#include "localization/L10n.h"

#include <QAction>
#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

} // namespace

StatusItemController::StatusItemController(ShellServices &services, QObject *parent)
    : QObject(parent)
    , m_services(services)
    , m_statusItem(new QSystemTrayIcon(this))
    , m_menu(std::make_unique<QMenu>())
{
    m_menu->setObjectName(QStringLiteral("statusMenu"));
    connect(m_menu.get(), &QMenu::aboutToShow, this, &StatusItemController::menuNeedsUpdate);
    m_statusItem->setContextMenu(m_menu.get());
    // A click opens the menu as well, as a right click does.
    connect(m_statusItem, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    m_menu->popup(QCursor::pos());
            });
    refreshIcon();
    // The guard reports after its values changed; one more hop lets a burst of
    // changes settle before the icon reads them.
    connect(&m_services.guard(), &shell::Guard::changed, this, [this] {
        QMetaObject::invokeMethod(this, &StatusItemController::refreshIcon, Qt::QueuedConnection);
    });
    m_statusItem->show();
    QTimer::singleShot(trayWait, this, &StatusItemController::checkTrayPresence);
}

StatusItemController::~StatusItemController() = default;

MenuBarIcon::State StatusItemController::currentState() const
{
    const shell::Guard &guard = m_services.guard();
    const bool authorized =
        m_services.cameraAuthorization->status() == CameraAuthorization::Status::authorized;
    if (guard.cameraDenied() || (guard.enabledPref() && !authorized))
        return MenuBarIcon::State::permissionWarning;
    if (guard.enabledPref() && guard.enrolled())
        return MenuBarIcon::State::active;
    return MenuBarIcon::State::off;
}

// Panels differ in colour and none says which it has. An embedded (XEmbed) icon
// has a place on screen whose corner shows the panel, as the glyph never reaches
// it; elsewhere the desktop theme's window colour is the best guess.
QColor StatusItemController::panelColor() const
{
    const QRect where = m_statusItem->geometry();
    if (QScreen *screen = where.isValid() ? QGuiApplication::screenAt(where.center()) : nullptr) {
        const QPoint corner = where.bottomLeft() - screen->geometry().topLeft();
        const QImage pixel = screen->grabWindow(0, corner.x(), corner.y(), 1, 1).toImage();
        if (!pixel.isNull())
            return pixel.pixelColor(0, 0);
    }
    return QGuiApplication::palette().color(QPalette::Window);
}

void StatusItemController::refreshIcon()
{
    const MenuBarIcon::State state = currentState();
    const QColor tint = MenuBarIcon::tintFor(panelColor());
    // Redrawing only on a change spares the panel an update every refresh.
    if (state != m_state || tint != m_tint) {
        m_state = state;
        m_tint = tint;
        m_statusItem->setIcon(MenuBarIcon::icon(state, tint));
    }
    m_statusItem->setToolTip(state == MenuBarIcon::State::permissionWarning
                                 ? QStringLiteral("Veilora — ") + text("menu.need_permissions")
                                 : QStringLiteral("Veilora"));
}

void StatusItemController::menuNeedsUpdate()
{
    m_menu->clear();
    refreshIcon();
    const shell::Guard &guard = m_services.guard();
    const auto add = [this](const char *key, void (StatusItemController::*action)(),
                            const QKeySequence &shortcut = {}) {
        QAction *item = m_menu->addAction(text(key));
        item->setShortcut(shortcut);
        connect(item, &QAction::triggered, this, action);
        return item;
    };

    if (!guard.enrolled()) {
        add("menu.enrollFirst", &StatusItemController::openGeneral);
    } else {
        QAction *toggle =
            add(guard.enabledPref() ? "menu.disable" : "menu.enable", &StatusItemController::toggleEnabled);
        toggle->setCheckable(true);
        toggle->setChecked(guard.enabledPref());
    }
    m_menu->addSeparator();
    add("menu.settings", &StatusItemController::showSettings, QKeySequence(Qt::CTRL | Qt::Key_Comma));
    if (guard.cameraDenied() ||
        m_services.cameraAuthorization->status() != CameraAuthorization::Status::authorized)
        add("menu.open_permissions", &StatusItemController::openPermissions);
    if (m_services.bundle.feedURL())
        add("menu.check_updates", &StatusItemController::checkForUpdates);
    add("menu.about", &StatusItemController::showAbout);
    m_menu->addSeparator();
    add("menu.quit", &StatusItemController::quit, QKeySequence::Quit);
}

void StatusItemController::toggleEnabled()
{
    shell::Guard &guard = m_services.guard();
    guard.setEnabled(!guard.enabledPref());
}

void StatusItemController::openGeneral()
{
    m_services.showSettings(SettingsTab::general);
}

void StatusItemController::showSettings()
{
    m_services.showSettings(std::nullopt);
}

void StatusItemController::openPermissions()
{
    m_services.showSettings(SettingsTab::permissions);
    // Nothing in the application can grant what the system withholds.
    if (m_services.cameraBlockedBySystem())
        ShellDialogs::showVideoGroupHint();
}

void StatusItemController::checkForUpdates()
{
    m_services.checkForUpdates();
}

void StatusItemController::showAbout()
{
    ShellDialogs::showAboutPanel(m_services.bundle);
}

void StatusItemController::quit()
{
    m_services.quit();
}

void StatusItemController::checkTrayPresence()
{
    if (m_trayChecked || QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_trayChecked = true;
    ShellDialogs::showNoTrayNotice([weak = QPointer(this)] {
        if (weak)
            weak->showSettings();
    });
}

} // namespace veilora
