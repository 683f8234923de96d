#include "RowDivider.h"

#include "Theme.h"

#include <QPainter>

namespace veilora {

RowDivider::RowDivider(int leadingInset, QWidget *parent)
    : QWidget(parent)
    , m_leadingInset(leadingInset)
{
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void RowDivider::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QRect line = rect();
    if (layoutDirection() == Qt::RightToLeft)
        line.setRight(line.right() - m_leadingInset);
    else
        line.setLeft(m_leadingInset);
    painter.fillRect(line, Theme::divider(palette()));
}

} // namespace veilora
