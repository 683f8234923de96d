#pragma once

#include <QByteArray>
#include <QString>

namespace veilora {

// Files that hold the user's own data (preferences, logs, biometric prints) are
// readable by the user alone.

// Creates the folder and any missing parents, then restricts the folder to 0700.
bool ensurePrivateDirectory(const QString &path);

// Replaces the file's whole content atomically (a crash leaves either the old or
// the new content, never a mix) with mode 0600.
bool writePrivateFile(const QString &path, const QByteArray &content);

} // namespace veilora
