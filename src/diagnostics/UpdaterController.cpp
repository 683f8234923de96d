#include "UpdaterController.h"

#include "UpdatePackageInstaller.h"
#include "UpdateWindow.h"
#include "platform/BundleInfo.h"
#include "platform/EventLog.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

namespace veilora {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono;

namespace {

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

} // namespace

UpdaterController::UpdaterController(Configuration configuration, QObject *parent)
    : QObject(parent)
    , m_configuration(std::move(configuration))
    , m_session(new UpdaterSession(m_configuration.session, this))
{
    Q_ASSERT(m_configuration.defaults && m_configuration.installer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        // A person's own check, or an offer on screen, makes this one moot.
        if (m_session->isBusy() || (m_window && m_window->isVisible()))
            scheduleNextCheck();
        else
            checkInBackground();
    });

    connect(m_session, &UpdaterSession::upToDate, this, [this] {
        if (m_userInitiated) {
            ensureWindow().showUpToDate(m_configuration.runningVersion);
        } else {
            Q_EMIT automaticCheckFinished();
        }
    });
    connect(m_session, &UpdaterSession::updateFound, this, [this](const AppcastItem &item) {
        m_offered = item;
        ensureWindow().showAvailable(item, m_configuration.runningVersion);
        presentWindow();
        m_session->fetchReleaseNotes(item);
        if (!m_userInitiated)
            Q_EMIT automaticCheckFinished();
    });
    connect(m_session, &UpdaterSession::releaseNotesReady, this, [this](const QString &text, bool html) {
        if (m_window)
            m_window->setReleaseNotes(text, html);
    });
    connect(m_session, &UpdaterSession::releaseNotesFailed, this, [this] {
        if (m_window)
            m_window->setReleaseNotesUnavailable();
    });
    connect(m_session, &UpdaterSession::downloadProgress, this, [this](qint64 received, qint64 total) {
        if (m_window)
            m_window->setProgress(received, total);
    });
    connect(m_session, &UpdaterSession::downloadVerified, this, [this](const QString &path) {
        m_packagePath = path;
        ensureWindow().showReadyToInstall(m_offered ? m_offered->displayVersion() : QString());
        presentWindow();
    });
    connect(m_session, &UpdaterSession::failed, this, [this](UpdaterError error, const QString &detail) {
        // Nobody asked for a background check: its failure is only logged, and
        // the next one comes a day later as usual.
        if (!m_userInitiated && !(m_window && m_window->isVisible())) {
            Q_EMIT automaticCheckFinished();
            return;
        }
        ensureWindow().showError(error, detail);
        presentWindow();
    });
}

UpdaterController::~UpdaterController()
{
    delete m_window;
}

bool UpdaterController::isConfigured()
{
    return BundleInfo::main().feedURL().has_value();
}

UpdaterController &UpdaterController::shared()
{
    static UpdaterController *controller = [] {
        const BundleInfo &info = BundleInfo::main();
        Configuration configuration;
        configuration.session.feedURL = QUrl(info.feedURL().value_or(QString()));
        configuration.session.runningBuild = info.buildVersion().value_or(u"0"_s);
        configuration.session.publicKey = info.updatePublicKey().value_or(QString());
        configuration.session.downloadFolder =
            QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/veilora/updates"_s;
        configuration.runningVersion = info.shortVersion().value_or(u"0.1.0 (dev)"_s);
        configuration.defaults = &UserDefaults::standard();
        auto *installer = new SystemPackageInstaller(QCoreApplication::instance());
        configuration.installer = installer;
        return new UpdaterController(std::move(configuration), QCoreApplication::instance());
    }();
    return *controller;
}

void UpdaterController::start()
{
    if (m_started)
        return;
    m_started = true;
    EventLog::write(u"Updater started: feed %1, build %2, automatic checks %3"_s.arg(
        m_configuration.session.feedURL.toString(), m_configuration.session.runningBuild,
        automaticallyChecksForUpdates() ? u"on"_s : u"off"_s));
    scheduleNextCheck();
}

bool UpdaterController::automaticallyChecksForUpdates() const
{
    return m_configuration.defaults->boolValue(key(automaticChecksKey)).value_or(true);
}

void UpdaterController::setAutomaticallyChecksForUpdates(bool enabled)
{
    m_configuration.defaults->setBool(key(automaticChecksKey), enabled);
    if (m_started)
        scheduleNextCheck();
}

std::optional<QDateTime> UpdaterController::lastCheckTime() const
{
    return m_configuration.defaults->dateValue(key(lastCheckTimeKey));
}

milliseconds UpdaterController::delayUntilNextCheck(const std::optional<QDateTime> &lastCheck,
                                                    const QDateTime &now)
{
    if (!lastCheck || !lastCheck->isValid())
        return firstCheckDelay;
    const milliseconds since(lastCheck->msecsTo(now));
    // A last check "in the future" means the clock was set back: check soon.
    if (since < 0ms || since >= checkInterval)
        return firstCheckDelay;
    return std::max<milliseconds>(checkInterval - since, firstCheckDelay);
}

std::optional<milliseconds> UpdaterController::scheduledCheckIn() const
{
    if (!m_timer.isActive())
        return std::nullopt;
    return milliseconds(m_timer.interval());
}

void UpdaterController::scheduleNextCheck()
{
    m_timer.stop();
    if (!automaticallyChecksForUpdates())
        return;
    const milliseconds delay = delayUntilNextCheck(lastCheckTime(), QDateTime::currentDateTimeUtc());
    m_timer.start(delay);
}

void UpdaterController::checkForUpdates()
{
    // A check or download already on screen simply comes to the front.
    if (m_window && m_window->isVisible() &&
        (m_window->page() == UpdateWindow::Page::checking ||
         m_window->page() == UpdateWindow::Page::downloading ||
         m_window->page() == UpdateWindow::Page::available ||
         m_window->page() == UpdateWindow::Page::readyToInstall ||
         m_window->page() == UpdateWindow::Page::installing)) {
        m_userInitiated = true;
        presentWindow();
        return;
    }
    runCheck(true);
}

void UpdaterController::checkInBackground()
{
    runCheck(false);
}

void UpdaterController::runCheck(bool userInitiated)
{
    m_userInitiated = userInitiated;
    m_offered.reset();
    // Recorded when the check begins, so a failing feed is not asked again at once.
    m_configuration.defaults->setDate(key(lastCheckTimeKey), QDateTime::currentDateTimeUtc());
    if (userInitiated) {
        ensureWindow().showChecking();
        presentWindow();
    }
    m_session->check();
    if (m_started)
        scheduleNextCheck();
}

UpdateWindow &UpdaterController::ensureWindow()
{
    if (m_window)
        return *m_window;
    m_window = new UpdateWindow;
    connect(m_window, &UpdateWindow::cancelRequested, this, [this] {
        m_session->cancel();
        endSession();
    });
    connect(m_window, &UpdateWindow::laterRequested, this, [this] { endSession(); });
    connect(m_window, &UpdateWindow::closed, this, [this] { endSession(); });
    connect(m_window, &UpdateWindow::installRequested, this, [this] {
        if (!m_offered)
            return;
        m_userInitiated = true;
        m_window->showDownloading(m_offered->displayVersion());
        m_session->download(*m_offered);
    });
    connect(m_window, &UpdateWindow::installConsented, this, [this] {
        if (m_packagePath.isEmpty())
            return;
        const QString version = m_offered ? m_offered->displayVersion() : QString();
        m_window->showInstalling(version);
        m_configuration.installer->install(m_packagePath, [this, version](std::optional<QString> error) {
            if (!m_window)
                return;
            if (error)
                m_window->showError(UpdaterError::installFailed, *error);
            else
                m_window->showInstalled(version);
            presentWindow();
        });
    });
    return *m_window;
}

void UpdaterController::presentWindow()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void UpdaterController::endSession()
{
    m_session->cancel();
    if (!m_packagePath.isEmpty() && m_window && m_window->page() != UpdateWindow::Page::installing) {
        // An update not installed now is fetched and checked afresh next time.
        QFile::remove(m_packagePath);
        m_packagePath.clear();
    }
    m_userInitiated = false;
    if (m_window)
        m_window->hide();
}

} // namespace veilora
