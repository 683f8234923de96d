#pragma once

#include "platform/DesktopAppearance.h"

#include <QObject>
#include <QPalette>

namespace veilora {

// Keeps the application's palette on the desktop's side of light and dark. The
// palette Qt started with (the desktop theme's) stays whenever it already
// matches the stated preference, or when there is none; otherwise our own light
// or dark palette takes its place. Every window re-colours itself from the
// palette change.
class AppearanceFollower : public QObject
{
    Q_OBJECT
public:
    explicit AppearanceFollower(DesktopAppearance &appearance, QObject *parent = nullptr);

    // The palette for `scheme` when the desktop theme's own is `themed`.
    static QPalette paletteFor(DesktopAppearance::Scheme scheme, const QPalette &themed);

private:
    void apply(DesktopAppearance::Scheme scheme);

    const QPalette m_themed;
};

} // namespace veilora
