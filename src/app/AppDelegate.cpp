#include "AppDelegate.h"

#include "app/ApplicationShortcuts.h"
#include "app/LaunchOptions.h"
#include "app/StatusItemController.h"
#include "platform/EventLog.h"
#include "platform/SingleInstance.h"
#include "settings/AppSettings.h"

#include <QTimer>
#include <QUrl>

namespace veilora {

AppDelegate::AppDelegate(AppSettings &settings, ShellServices services, SingleInstance *instance,
                         QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_services(std::move(services))
{
    if (instance) {
        connect(instance, &SingleInstance::openURLRequested, this, &AppDelegate::handleGetURLEvent);
        connect(instance, &SingleInstance::activateRequested, this,
                [this] { whenLaunched([this] { m_services.showSettings(std::nullopt); }); });
    }
}

AppDelegate::~AppDelegate() = default;

StatusItemController &AppDelegate::statusItem()
{
    if (!m_statusItem)
        m_statusItem = std::make_unique<StatusItemController>(m_services);
    return *m_statusItem;
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_services.startLocalization();
    installEditMenu();
    // The status item's first refresh reads the guard, which creates it.
    statusItem();
    m_services.guard().bootstrap();
    if (!m_settings.onboardingCompleted())
        m_services.showOnboarding();
    // Without a feed no update machinery exists at all.
    if (m_services.bundle.feedURL())
        m_services.startUpdater();
    m_services.startCloudAccount();
    m_services.startCloudSync();
    m_services.subscribeCrashReporter();
    m_services.startTesterMode();

    delete m_permissionTimer;
    m_permissionTimer = new QTimer(this);
    m_permissionTimer->setInterval(refreshInterval);
    connect(m_permissionTimer, &QTimer::timeout, this, [this] { statusItem().refreshIcon(); });
    m_permissionTimer->start();

    m_launched = true;
    auto waiting = std::move(m_afterLaunch);
    m_afterLaunch.clear();
    for (auto &work : waiting)
        work();
}

void AppDelegate::installEditMenu()
{
    if (m_shortcuts)
        return;
    m_shortcuts = new ApplicationShortcuts([this] { m_services.quit(); }, this);
    m_shortcuts->install();
}

void AppDelegate::handleGetURLEvent(const QString &text)
{
    // Never logged as it stands: a sign-in callback carries a one-time code.
    if (!isOpenableURL(text)) {
        EventLog::write(
            QStringLiteral("url: ignored a hand-over that is not a URL (%1 characters)").arg(text.size()));
        return;
    }
    whenLaunched([this, url = QUrl(text, QUrl::StrictMode)] { m_services.handleCallback(url); });
}

void AppDelegate::whenLaunched(std::function<void()> work)
{
    if (m_launched)
        work();
    else
        m_afterLaunch.push_back(std::move(work));
}

} // namespace veilora
