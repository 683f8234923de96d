#include "WebBrowser.h"

#include <QDesktopServices>

namespace veilora {

bool openInWebBrowser(const QUrl &url)
{
    return QDesktopServices::openUrl(url);
}

} // namespace veilora
