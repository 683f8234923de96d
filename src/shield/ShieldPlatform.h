#pragma once

namespace veilora {

// Wayland gives an application no way to keep a window above all others except
// through the layer-shell protocol, which Qt 6.4 on Debian cannot use. So in a
// Wayland session that offers XWayland the application runs as an X11 client,
// where the shield's override-redirect windows stay on top.
//
// Call before the QApplication exists. Leaves an explicit QT_QPA_PLATFORM alone.
// Returns whether it chose X11.
bool preferX11ForShield();

} // namespace veilora
