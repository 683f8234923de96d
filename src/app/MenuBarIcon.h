#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>

namespace veilora {

// The tray glyph: a shield outline, with a bar across it while protection is
// on and a cut-out warning badge when camera permission is missing. Drawn in
// code on a 16-unit canvas and rendered directly at each size, so it stays sharp
// at 16, 22, 24 and 32 pixels and on high-density screens.
class MenuBarIcon
{
public:
    enum class State
    {
        active,
        off,
        permissionWarning
    };

    static constexpr int canvas = 16;

    // The 16 × 16 template: black on transparent.
    static QImage image(State state);

    // `logicalSize` units square at `devicePixelRatio`, in `color`.
    static QImage render(State state, int logicalSize, qreal devicePixelRatio, const QColor &color);

    // Every tray size at 1× and 2×, in `color`.
    static QIcon icon(State state, const QColor &color);

    // Dark on light panels, light on dark ones.
    static QColor tintFor(const QColor &panel);
};

} // namespace veilora
