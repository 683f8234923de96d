#include "PillTheme.h"

#include "controls/Palettes.h"

namespace veilora::PillTheme {

namespace {

QColor tint(const QPalette &palette, qreal darkAlpha, qreal lightAlpha)
{
    const bool dark = isDark(palette);
    QColor colour = dark ? QColor(Qt::white) : QColor(Qt::black);
    colour.setAlphaF(float(dark ? darkAlpha : lightAlpha));
    return colour;
}

} // namespace

bool isDark(const QPalette &palette)
{
    return Palettes::isDark(palette);
}

QColor field(const QPalette &palette)
{
    return tint(palette, 0.06, 0.05);
}

QColor fieldBorder(const QPalette &palette)
{
    return tint(palette, 0.12, 0.12);
}

QColor segOverlay(const QPalette &palette)
{
    return tint(palette, 0.052, 0.075);
}

QColor accent()
{
    return QColor(10, 132, 255);
}

} // namespace veilora::PillTheme
