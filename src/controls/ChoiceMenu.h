#pragma once

#include <QMenu>

namespace veilora {

// A menu of choices: the chosen entries carry a check mark and the others carry
// nothing, where the desktop style would draw an empty check box beside every
// checkable entry. The actions stay checkable, so their state reads as usual.
class ChoiceMenu : public QMenu
{
    Q_OBJECT
public:
    explicit ChoiceMenu(QWidget *parent = nullptr);

protected:
    void initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const override;
};

} // namespace veilora
