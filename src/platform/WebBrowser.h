#pragma once

#include <QUrl>

namespace veilora {

// Opens `url` in the user's default web browser (xdg-open, or the desktop
// portal inside a sandbox). False when nothing could be started.
bool openInWebBrowser(const QUrl &url);

} // namespace veilora
