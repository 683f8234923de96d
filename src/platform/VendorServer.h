#pragma once

#include <QJsonObject>
#include <QList>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QString>
#include <QUrl>

#include <optional>

class QNetworkAccessManager;

namespace veilora {

// The vendor's web server (sign-in, settings sync, crash reports, tester logs)
// and the form of every request to it. Its address is the build's
// "VLServerBaseURL", or the built-in one; the environment variable
// VEILORA_SERVER_URL replaces it for every request, so a self-hosted or test
// server needs no rebuild.
namespace VendorServer {

inline constexpr const char *defaultBaseURL = "https://veilora.norvane.com";
inline constexpr const char *overrideVariable = "VEILORA_SERVER_URL";
// A PEM file of certificate authorities trusted for the vendor server only, for
// a self-hosted server whose certificate comes from a private authority.
inline constexpr const char *caVariable = "VEILORA_SERVER_CA";
inline constexpr int timeoutMs = 60 * 1000;

// Made on first use. A build value that is not a usable address is a
// programming error and ends the process; an unusable override is logged and
// ignored.
const QUrl &baseURL();

// An origin without path, query or trailing slash, over https, or over plain
// http to a loopback address only (a local development server).
std::optional<QUrl> parseBaseURL(const QString &text);

// `<base>/api/<path>`; an inner slash in `path` stays ("sync/veilora").
QUrl apiURL(const QString &path);

// The extra authorities from VEILORA_SERVER_CA (none when unset or unreadable).
const QList<QSslCertificate> &extraCertificateAuthorities();

// 60 s time-out, "Authorization: Bearer" when a token is given, the JSON
// content type when there is a body, and the extra authorities.
QNetworkRequest request(const QUrl &url, const std::optional<QString> &token, bool jsonBody);

// The one network access manager of the vendor requests. Main thread only.
QNetworkAccessManager &network();

// POSTs `body` as compact JSON to `<base>/api/<path>` without a token and
// forgets it: the answer and any failure are ignored. Callable from any thread.
void postAndForget(const QString &path, const QJsonObject &body);

} // namespace VendorServer

} // namespace veilora
