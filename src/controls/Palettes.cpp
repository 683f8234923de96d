#include "Palettes.h"

#include "controls/PillTheme.h"

namespace veilora::Palettes {

namespace {

struct Colours
{
    QColor window, base, alternateBase, text, button, mid, dark, shadow, disabledText;
};

QPalette make(const Colours &c)
{
    const QColor accent = PillTheme::accent();
    QPalette palette;
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor text = group == QPalette::Disabled ? c.disabledText : c.text;
        palette.setColor(group, QPalette::Window, c.window);
        palette.setColor(group, QPalette::WindowText, text);
        palette.setColor(group, QPalette::Base, c.base);
        palette.setColor(group, QPalette::AlternateBase, c.alternateBase);
        palette.setColor(group, QPalette::Text, text);
        palette.setColor(group, QPalette::Button, c.button);
        palette.setColor(group, QPalette::ButtonText, text);
        palette.setColor(group, QPalette::BrightText, Qt::white);
        palette.setColor(group, QPalette::Light, c.button.lighter(130));
        palette.setColor(group, QPalette::Midlight, c.button.lighter(115));
        palette.setColor(group, QPalette::Mid, c.mid);
        palette.setColor(group, QPalette::Dark, c.dark);
        palette.setColor(group, QPalette::Shadow, c.shadow);
        palette.setColor(group, QPalette::Highlight, group == QPalette::Disabled ? c.mid : accent);
        palette.setColor(group, QPalette::HighlightedText, Qt::white);
        palette.setColor(group, QPalette::Link, accent);
        palette.setColor(group, QPalette::LinkVisited, accent.darker(120));
        palette.setColor(group, QPalette::ToolTipBase, c.base);
        palette.setColor(group, QPalette::ToolTipText, c.text);
        palette.setColor(group, QPalette::PlaceholderText, c.disabledText);
    }
    return palette;
}

} // namespace

QPalette light()
{
    return make({QColor(246, 246, 246), Qt::white, QColor(240, 240, 240), QColor(29, 29, 31),
                 QColor(238, 238, 238), QColor(196, 196, 196), QColor(160, 160, 160), QColor(110, 110, 110),
                 QColor(160, 160, 164)});
}

QPalette dark()
{
    return make({QColor(36, 36, 38), QColor(28, 28, 30), QColor(44, 44, 46), QColor(236, 236, 240),
                 QColor(52, 52, 54), QColor(80, 80, 84), QColor(20, 20, 22), QColor(0, 0, 0),
                 QColor(120, 120, 126)});
}

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

} // namespace veilora::Palettes
