#include "ToneLabel.h"

#include <QApplication>
#include <QEvent>

namespace veilora {

ToneLabel::ToneLabel(const QString &text, int pixelSize, QFont::Weight weight, Theme::Tone tone,
                     QWidget *parent)
    : QLabel(text, parent)
    , m_tone(tone)
{
    setFont(Theme::font(pixelSize, weight));
    setTextFormat(Qt::PlainText);
    applyColor();
}

void ToneLabel::setTone(Theme::Tone tone)
{
    m_tone = tone;
    applyColor();
}

void ToneLabel::setFixedColor(const std::optional<QColor> &colour)
{
    m_fixedColor = colour;
    applyColor();
}

void ToneLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange)
        applyColor();
}

void ToneLabel::applyColor()
{
    // The text colour comes from the surroundings, not from this label's own
    // palette, which holds the derived colour already.
    const QPalette base = parentWidget() ? parentWidget()->palette() : QApplication::palette();
    const QColor colour = m_fixedColor.value_or(Theme::text(base, m_tone));
    if (palette().color(QPalette::WindowText) == colour &&
        palette().isBrushSet(QPalette::Active, QPalette::WindowText))
        return;
    QPalette own = palette();
    own.setColor(QPalette::WindowText, colour);
    own.setColor(QPalette::Text, colour);
    setPalette(own);
}

} // namespace veilora
