#include "AppearanceFollower.h"

#include "controls/Palettes.h"

#include <QApplication>

namespace veilora {

AppearanceFollower::AppearanceFollower(DesktopAppearance &appearance, QObject *parent)
    : QObject(parent)
    , m_themed(QApplication::palette())
{
    connect(&appearance, &DesktopAppearance::schemeChanged, this, &AppearanceFollower::apply);
    apply(appearance.scheme());
}

QPalette AppearanceFollower::paletteFor(DesktopAppearance::Scheme scheme, const QPalette &themed)
{
    using Scheme = DesktopAppearance::Scheme;
    if (scheme == Scheme::noPreference || (scheme == Scheme::dark) == Palettes::isDark(themed))
        return themed;
    return scheme == Scheme::dark ? Palettes::dark() : Palettes::light();
}

void AppearanceFollower::apply(DesktopAppearance::Scheme scheme)
{
    const QPalette wanted = paletteFor(scheme, m_themed);
    if (wanted != QApplication::palette())
        QApplication::setPalette(wanted);
}

} // namespace veilora
