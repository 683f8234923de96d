#pragma once

#include <QString>

namespace veilora::server {

// Authorization codes and bearer tokens: 32 random bytes, and only their
// hashes ever reach the database, so a leaked backup grants nothing.
namespace TokenFactory {

QString newSecret();
QString hashOf(const QString &secret);

} // namespace TokenFactory

} // namespace veilora::server
