#include "ElidingLabel.h"

#include <QPainter>
#include <QStyle>

namespace veilora {

ElidingLabel::ElidingLabel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(false);
}

QSize ElidingLabel::minimumSizeHint() const
{
    const QMargins margins = contentsMargins();
    return {fontMetrics().horizontalAdvance(QStringLiteral("…")) + margins.left() + margins.right(),
            QLabel::minimumSizeHint().height()};
}

void ElidingLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect box = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, box.width());
    style()->drawItemText(&painter, box, int(QStyle::visualAlignment(layoutDirection(), alignment())),
                          palette(), isEnabled(), shown, foregroundRole());
}

} // namespace veilora
