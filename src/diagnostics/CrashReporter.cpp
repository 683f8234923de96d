#include "CrashReporter.h"

#include "platform/UserDefaults.h"
#include "platform/VendorServer.h"

#include <QMutex>
#include <QStringDecoder>
#include <QThreadPool>
#include <QUuid>

namespace veilora {

namespace CrashConfig {

const std::optional<QUrl> &endpoint()
{
    static const std::optional<QUrl> url = []() -> std::optional<QUrl> {
        const QUrl candidate = VendorServer::apiURL(QStringLiteral("crash"));
        if (!candidate.isValid() || candidate.isRelative())
            return std::nullopt;
        return candidate;
    }();
    return url;
}

QString installID()
{
    // Two crashes delivered at once must not each invent an identifier.
    static QMutex lock;
    QMutexLocker locker(&lock);
    UserDefaults &defaults = UserDefaults::standard();
    const QString key = QString::fromLatin1(installIDKey);
    if (const auto stored = defaults.stringValue(key))
        return *stored;
    const QString created = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    defaults.setString(key, created);
    return created;
}

bool reportingEnabled()
{
    return UserDefaults::standard().boolValue(QString::fromLatin1(reportingEnabledKey)).value_or(true);
}

} // namespace CrashConfig

namespace {

void sendToVendor(const QJsonObject &report)
{
    if (!CrashConfig::endpoint())
        return;
    VendorServer::postAndForget(QStringLiteral("crash"), report);
}

} // namespace

CrashReporter &CrashReporter::shared()
{
    static CrashReporter *reporter = new CrashReporter(BundleInfo::main(), &sendToVendor);
    return *reporter;
}

CrashReporter::CrashReporter(BundleInfo bundle, Sender send)
    : m_bundle(std::move(bundle))
    , m_send(std::move(send))
{}

void CrashReporter::subscribe(const QString &recordPath)
{
    const std::optional<CrashRecord> record = PendingCrash::take(recordPath);
    if (!record)
        return;
    QThreadPool::globalInstance()->start(
        [this, crash = *record] { didReceive({DiagnosticPayload{{CrashDiagnostic::fromRecord(crash)}}}); });
}

void CrashReporter::didReceive(const QList<DiagnosticPayload> &payloads) const
{
    if (!CrashConfig::reportingEnabled())
        return;
    for (const DiagnosticPayload &payload : payloads) {
        for (const CrashDiagnostic &diagnostic : payload.crashDiagnostics)
            m_send(report(diagnostic));
    }
}

QJsonObject CrashReporter::report(const CrashDiagnostic &diagnostic) const
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString callStack = utf8.decode(diagnostic.callStackJSON);
    if (utf8.hasError())
        callStack.clear();

    QJsonObject report{
        {QStringLiteral("type"), QStringLiteral("crash")},
        {QStringLiteral("app"), QStringLiteral("veilora")},
        {QStringLiteral("installID"), CrashConfig::installID()},
        {QStringLiteral("appVersion"), m_bundle.shortVersion().value_or(QStringLiteral("?"))},
        {QStringLiteral("build"), m_bundle.buildVersion().value_or(QStringLiteral("?"))},
        {QStringLiteral("osVersion"), diagnostic.osVersion},
        {QStringLiteral("arch"), diagnostic.platformArchitecture},
        {QStringLiteral("callStack"), callStack},
    };
    if (diagnostic.signal)
        report.insert(QStringLiteral("signal"), *diagnostic.signal);
    if (diagnostic.exceptionType)
        report.insert(QStringLiteral("exceptionType"), *diagnostic.exceptionType);
    if (diagnostic.exceptionCode)
        report.insert(QStringLiteral("exceptionCode"), *diagnostic.exceptionCode);
    if (diagnostic.terminationReason)
        report.insert(QStringLiteral("terminationReason"), *diagnostic.terminationReason);
    return report;
}

} // namespace veilora
