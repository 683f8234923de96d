#pragma once

#include <QList>
#include <QSslCertificate>
#include <QString>
#include <QUrl>

#include <optional>

namespace veilora {

// Where the vendor's web server is: the build's "VLServerBaseURL", or the
// built-in address. The environment variable VEILORA_SERVER_URL replaces it for
// every vendor address, so a self-hosted or test server needs no rebuild.
namespace CloudConfig {

inline constexpr const char *defaultBaseURL = "https://veilora.norvane.com";
inline constexpr const char *overrideVariable = "VEILORA_SERVER_URL";
// A PEM file of certificate authorities trusted for the vendor server only, for
// a self-hosted server whose certificate comes from a private authority.
inline constexpr const char *caVariable = "VEILORA_SERVER_CA";

// Made on first use. A build value that is not a usable address is a
// programming error and ends the process; an unusable override is logged and
// ignored.
const QUrl &baseURL();

// An origin without path, query or trailing slash, over https, or over plain
// http to a loopback address only (a local development server).
std::optional<QUrl> parseBaseURL(const QString &text);

// The extra authorities from VEILORA_SERVER_CA (none when unset or unreadable).
const QList<QSslCertificate> &extraCertificateAuthorities();

} // namespace CloudConfig

} // namespace veilora
