#pragma once

#include <QStringList>

namespace veilora::server {

// Runs `veilora-server <arguments…>` (without the program name) and returns
// the exit code: 0 on success, 1 when running failed, 2 for unusable input.
// Needs a QCoreApplication.
int runServerCommand(const QStringList &arguments);

} // namespace veilora::server
