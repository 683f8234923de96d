#pragma once

#include "controls/IconView.h"

#include <QAbstractButton>
#include <QLabel>

namespace veilora {

// A rounded field showing the current choice and a chevron. Clicking anywhere on
// it, label and chevron included, or pressing Space, Return or Down while it has
// focus, sends `clicked`, where its owner opens the menu of choices. The owner
// changes the shown choice through `label`.
class PulldownPill : public QAbstractButton
{
    Q_OBJECT
    Q_PROPERTY(qreal alpha READ alpha WRITE setAlpha)
public:
    explicit PulldownPill(const QString &title, QWidget *parent = nullptr);

    QLabel *const label;
    IconView *const chevron;

    // The pill's opacity. Below 0.01 it takes no clicks, as if it were not there.
    qreal alpha() const { return m_alpha; }
    void setAlpha(qreal alpha);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool hitButton(const QPoint &pos) const override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void applyColors();

    qreal m_alpha = 1.0;
    QColor m_field;
    QColor m_fieldBorder;
};

} // namespace veilora
