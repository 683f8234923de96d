#include "ChoiceMenu.h"

#include "controls/Symbols.h"

#include <QStyleOptionMenuItem>

namespace veilora {

namespace {

constexpr qreal checkmarkSize = 11;

} // namespace

ChoiceMenu::ChoiceMenu(QWidget *parent)
    : QMenu(parent)
{}

void ChoiceMenu::initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const
{
    QMenu::initStyleOption(option, action);
    if (!action || !action->isCheckable())
        return;
    // The style draws an item's icon in the check column: a check mark in the
    // item's own text colour, highlighted or not, stands in for the check box.
    const bool checked = action->isChecked();
    option->checkType = QStyleOptionMenuItem::NotCheckable;
    option->checked = false;
    option->icon = QIcon();
    if (!checked)
        return;
    const qreal ratio = devicePixelRatioF();
    const QPalette::ColorGroup group = action->isEnabled() ? QPalette::Active : QPalette::Disabled;
    QIcon mark;
    mark.addPixmap(Symbols::image(QStringLiteral("checkmark"), checkmarkSize, QFont::DemiBold,
                                  option->palette.color(group, QPalette::Text), ratio),
                   QIcon::Normal);
    mark.addPixmap(Symbols::image(QStringLiteral("checkmark"), checkmarkSize, QFont::DemiBold,
                                  option->palette.color(group, QPalette::HighlightedText), ratio),
                   QIcon::Active);
    mark.addPixmap(Symbols::image(QStringLiteral("checkmark"), checkmarkSize, QFont::DemiBold,
                                  option->palette.color(QPalette::Disabled, QPalette::Text), ratio),
                   QIcon::Disabled);
    option->icon = mark;
}

} // namespace veilora
