#pragma once

#include <QAbstractButton>

class QVariantAnimation;

namespace veilora {

// An on/off switch: a capsule track, accent-coloured when on, with a white knob
// that slides to the on side. Click or Space toggles it; it has no text of its
// own (the row's title names it for assistive technology).
class ToggleSwitch : public QAbstractButton
{
    Q_OBJECT
public:
    static constexpr QSize trackSize{38, 22};
    static constexpr int ringMargin = 3;

    explicit ToggleSwitch(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    // Sets the state without emitting toggled()/clicked(), for showing a model's value.
    void showChecked(bool checked);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
    void checkStateSet() override;
    void nextCheckState() override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    QRectF track() const;
    void slideKnob();

    // 0 = off side, 1 = on side; between the two while sliding.
    qreal m_position = 0;
    bool m_keyboardFocus = false;
    QVariantAnimation *m_slide;
};

} // namespace veilora
