#include "ShieldPlatform.h"

#include <QByteArray>

namespace veilora {

bool preferX11ForShield()
{
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
        !qEnvironmentVariableIsSet("DISPLAY"))
        return false;
    qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("xcb"));
    return true;
}

} // namespace veilora
