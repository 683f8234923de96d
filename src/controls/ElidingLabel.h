#pragma once

#include <QLabel>

namespace veilora {

// A one-line label that, when narrower than its text, cuts the text at the tail
// with an ellipsis instead of clipping it mid-letter. text() stays the full text,
// so owners and assistive technology always see what was set.
class ElidingLabel : public QLabel
{
    Q_OBJECT
public:
    explicit ElidingLabel(const QString &text, QWidget *parent = nullptr);

    // Narrow enough for an ellipsis: a layout may squeeze the label that far.
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace veilora
