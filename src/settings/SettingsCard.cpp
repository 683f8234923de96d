#include "SettingsCard.h"

#include "ContinuousCorners.h"
#include "RowDivider.h"
#include "Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace veilora {

SettingsCard::SettingsCard(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
}

void SettingsCard::addRow(QWidget *row)
{
    m_layout->addWidget(row);
}

QWidget *SettingsCard::addDivider()
{
    auto *divider = new RowDivider(RowDivider::rowInset, this);
    m_layout->addWidget(divider);
    return divider;
}

void SettingsCard::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The border lies inside the shape: inset by half its width.
    const QRectF inner = QRectF(rect()).adjusted(0.25, 0.25, -0.25, -0.25);
    painter.setPen(QPen(Theme::cardBorder(palette()), 0.5));
    painter.setBrush(Theme::cardFill(palette()));
    painter.drawPath(ContinuousCorners::path(inner, cornerRadius));
}

} // namespace veilora
