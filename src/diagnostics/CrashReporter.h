#pragma once

#include "platform/BundleInfo.h"
#include "platform/crash/CrashCapture.h"
#include "platform/crash/CrashDiagnostic.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace veilora {

// Static configuration of crash reporting.
namespace CrashConfig {

inline constexpr const char *installIDKey = "crashInstallID";
inline constexpr const char *reportingEnabledKey = "crashReportingEnabled";

// `<vendor server>/api/crash`, made once; none when no address can be formed.
const std::optional<QUrl> &endpoint();

// The installation's random identifier, created and stored on first use.
QString installID();

// The About tab's "Send crash reports": on unless stored as Boolean false.
bool reportingEnabled();

} // namespace CrashConfig

// Forwards crashes of earlier runs to the vendor server, fire-and-forget. Keeps
// no state: the setting is read at delivery, nothing is kept for later, and
// every failure ends silently.
class CrashReporter
{
public:
    using Sender = std::function<void(const QJsonObject &report)>;

    // Sends with VendorServer::postAndForget.
    static CrashReporter &shared();

    CrashReporter(BundleInfo bundle, Sender send);

    // Called once at start-up, whatever the setting: takes the last crash's
    // record (deleting it even when nothing will be sent) and delivers it from a
    // worker thread, since naming the frames reads the modules' symbol tables.
    void subscribe(const QString &recordPath = CrashCapture::defaultRecordPath());

    void didReceive(const QList<DiagnosticPayload> &payloads) const;

private:
    QJsonObject report(const CrashDiagnostic &diagnostic) const;

    BundleInfo m_bundle;
    Sender m_send;
};

} // namespace veilora
