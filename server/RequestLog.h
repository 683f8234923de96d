#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace veilora::server {

// One line per request. It names only the method, the path and the client:
// queries carry sign-in state, bodies and headers carry passwords, codes and
// tokens, and none of them may ever reach a log file.
QByteArray requestLogLine(const QDateTime &time, const QByteArray &method, const QString &encodedPath,
                          int status, const QString &address);

} // namespace veilora::server
