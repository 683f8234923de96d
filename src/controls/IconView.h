#pragma once

#include <QIcon>
#include <QWidget>

namespace veilora {

// Shows a template icon (only its shape counts) in one of the text tones of its
// palette. The tint is resolved and the icon rendered whenever it is painted, so
// it follows palette changes and the screen's pixel ratio without being told.
class IconView : public QWidget
{
    Q_OBJECT
public:
    enum class Tone
    {
        label,
        secondary,
        tertiary,
    };

    explicit IconView(const QIcon &icon, Tone tone = Tone::label, QWidget *parent = nullptr);

    const QIcon &icon() const { return m_icon; }
    Tone tone() const { return m_tone; }
    void setTone(Tone tone);

    // The icon's own size (its first available size); empty without an icon.
    QSize naturalSize() const;
    QSize sizeHint() const override { return naturalSize(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor tint() const;

    QIcon m_icon;
    Tone m_tone;
};

} // namespace veilora
