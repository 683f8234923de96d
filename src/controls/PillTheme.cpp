#include "PillTheme.h"

#include "controls/Palettes.h"

#include <QEvent>

namespace veilora::PillTheme {

namespace {

QColor tint(const QPalette &palette, qreal darkAlpha, qreal lightAlpha)
{
    const bool dark = Palettes::isDark(palette);
    QColor colour = dark ? QColor(Qt::white) : QColor(Qt::black);
    colour.setAlphaF(float(dark ? darkAlpha : lightAlpha));
    return colour;
}

QColor text(const QPalette &palette, qreal opacity)
{
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(float(colour.alphaF() * opacity));
    return colour;
}

} // namespace

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

QColor label(const QPalette &palette)
{
    return text(palette, 1.0);
}

QColor secondaryLabel(const QPalette &palette)
{
    return text(palette, 0.55);
}

QColor tertiaryLabel(const QPalette &palette)
{
    return text(palette, 0.38);
}

bool isAppearanceChange(const QEvent *event)
{
    switch (event->type()) {
    case QEvent::PaletteChange:
    case QEvent::ApplicationPaletteChange:
    case QEvent::StyleChange:
        return true;
    default:
        return false;
    }
}

} // namespace veilora::PillTheme
