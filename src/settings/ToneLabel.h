#pragma once

#include "Theme.h"

#include <QLabel>

#include <optional>

namespace veilora {

// A label in one of the theme's text tones or a fixed colour. The tone is
// derived from the surrounding palette and re-derived whenever that changes, so
// a switch between light and dark re-colours the existing label in place.
class ToneLabel : public QLabel
{
    Q_OBJECT
public:
    ToneLabel(const QString &text, int pixelSize, QFont::Weight weight, Theme::Tone tone,
              QWidget *parent = nullptr);

    Theme::Tone tone() const { return m_tone; }
    void setTone(Theme::Tone tone);

    // Overrides the tone, e.g. with Theme::warn(); none goes back to the tone.
    void setFixedColor(const std::optional<QColor> &colour);

protected:
    void changeEvent(QEvent *event) override;

private:
    void applyColor();

    Theme::Tone m_tone;
    std::optional<QColor> m_fixedColor;
};

} // namespace veilora
