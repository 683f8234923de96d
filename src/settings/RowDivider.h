#pragma once

#include <QWidget>

namespace veilora {

// The hairline between two rows of a card, indented like the rows' text.
class RowDivider : public QWidget
{
    Q_OBJECT
public:
    static constexpr int rowInset = 16;

    explicit RowDivider(int leadingInset = rowInset, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_leadingInset;
};

} // namespace veilora
