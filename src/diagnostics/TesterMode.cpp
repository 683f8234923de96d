#include "TesterMode.h"

#include "CrashReporter.h"
#include "DebugLog.h"
#include "platform/BundleInfo.h"
#include "platform/ProcessJournal.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"
#include "platform/VendorServer.h"

#include <QSysInfo>
#include <QTimer>

namespace veilora {

namespace {

SerialQueue &uploads()
{
    static SerialQueue queue(QStringLiteral("com.norvane.tester.upload"));
    return queue;
}

} // namespace

TesterMode::TesterMode(UserDefaults &defaults, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_enabled(defaults.boolValue(QString::fromLatin1(enabledKey)).value_or(false))
    , m_lastExport(defaults.dateValue(QString::fromLatin1(lastExportKey))
                       .value_or(QDateTime::currentDateTimeUtc().addSecs(-uploadIntervalSeconds)))
{}

TesterMode &TesterMode::shared()
{
    static TesterMode *mode = new TesterMode(UserDefaults::standard());
    return *mode;
}

QString TesterMode::appVersion()
{
    return BundleInfo::main().shortVersion().value_or(QStringLiteral("dev"));
}

QString TesterMode::appBuild()
{
    return BundleInfo::main().buildVersion().value_or(QStringLiteral("0"));
}

void TesterMode::start()
{
    if (!m_enabled)
        return;
    DebugLog::log(QStringLiteral("tester: session start (v%1 build %2)").arg(appVersion(), appBuild()));
    scheduleTimer();
    upload();
}

void TesterMode::toggle()
{
    m_enabled = !m_enabled;
    m_defaults.setBool(QString::fromLatin1(enabledKey), m_enabled);
    if (m_enabled) {
        DebugLog::log(QStringLiteral("tester: mode ON"));
        scheduleTimer();
        upload();
    } else {
        DebugLog::log(QStringLiteral("tester: mode OFF"));
        // The log up to the switch-off still goes out.
        upload();
        delete m_timer;
        m_timer = nullptr;
    }
    Q_EMIT enabledChanged(m_enabled);
}

void TesterMode::scheduleTimer()
{
    delete m_timer;
    m_timer = new QTimer(this);
    m_timer->setInterval(uploadIntervalSeconds * 1000);
    connect(m_timer, &QTimer::timeout, this, &TesterMode::upload);
    m_timer->start();
}

void TesterMode::upload()
{
    // The window moves on before sending: a failed upload is not sent again.
    const QDateTime since = m_lastExport;
    m_lastExport = QDateTime::currentDateTimeUtc();
    m_defaults.setDate(QString::fromLatin1(lastExportKey), m_lastExport);
    const QString tail = DebugLog::tail();
    uploads().async([since, tail] {
        const QString journal = ProcessJournal::exportSince(since, maxJournalLines);
        VendorServer::postAndForget(QStringLiteral("testlog"), payload(logText(tail, since, journal)));
    });
}

QString TesterMode::logText(const QString &debugTail, const QDateTime &since, const QString &journal)
{
    const QString text = QStringLiteral("== app log (DebugLog) ==\n") + debugTail +
                         QStringLiteral("\n\n== unified log (own process, since ") +
                         since.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")) +
                         QStringLiteral(") ==\n") + journal;
    // The end is what matters: the headings at the start are what is lost.
    if (text.toUtf8().size() > maxLogCharacters)
        return text.right(maxLogCharacters);
    return text;
}

QJsonObject TesterMode::payload(const QString &log)
{
    return {{QStringLiteral("type"), QStringLiteral("testlog")},
            {QStringLiteral("app"), QStringLiteral("veilora")},
            {QStringLiteral("installID"), CrashConfig::installID()},
            {QStringLiteral("appVersion"), appVersion()},
            {QStringLiteral("build"), appBuild()},
            {QStringLiteral("osVersion"), QSysInfo::prettyProductName()},
            {QStringLiteral("log"), log}};
}

} // namespace veilora
