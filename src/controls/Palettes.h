#pragma once

#include <QPalette>

namespace veilora {

// The application's own light and dark palettes, for when the desktop states a
// preference that the palette Qt was given does not follow (GNOME's dark style
// with Qt's default theme, say). Neutral greys close to the desktops' own, with
// the accent blue as highlight, so the pill controls and cards sit well on them.
namespace Palettes {

QPalette light();
QPalette dark();

// Whether a palette reads as dark: its window colour is.
bool isDark(const QPalette &palette);

} // namespace Palettes

} // namespace veilora
