#include "Theme.h"

#include "controls/Palettes.h"
#include "controls/PillTheme.h"

#include <QApplication>

namespace veilora::Theme {

QColor accent()
{
    return PillTheme::accent();
}

QColor warn()
{
    static const QColor colour = QColor::fromRgb(255, 149, 0);
    return colour;
}

QColor primaryAt(const QPalette &palette, qreal opacity)
{
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(colour.alphaF() * opacity);
    return colour;
}

QColor text(const QPalette &palette, Tone tone)
{
    // Lighter than the usual label tones on other desktops: the small footers
    // and subtitles still need a readable contrast on either background.
    switch (tone) {
    case Tone::primary:
        return primaryAt(palette, Palettes::isDark(palette) ? 0.9 : 0.88);
    case Tone::secondary:
        return primaryAt(palette, Palettes::isDark(palette) ? 0.66 : 0.62);
    case Tone::tertiary:
        return primaryAt(palette, Palettes::isDark(palette) ? 0.52 : 0.5);
    }
    return primaryAt(palette, 1);
}

QColor cardFill(const QPalette &palette)
{
    return primaryAt(palette, 0.055);
}

QColor cardBorder(const QPalette &palette)
{
    return primaryAt(palette, 0.07);
}

QColor divider(const QPalette &palette)
{
    return primaryAt(palette, 0.08);
}

QColor sidebarFill(const QPalette &palette)
{
    return primaryAt(palette, Palettes::isDark(palette) ? 0.05 : 0.035);
}

QFont font(int pixelSize, QFont::Weight weight)
{
    QFont result = QApplication::font();
    result.setPixelSize(pixelSize);
    result.setWeight(weight);
    return result;
}

} // namespace veilora::Theme
