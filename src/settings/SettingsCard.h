#pragma once

#include <QWidget>

class QVBoxLayout;

namespace veilora {

// A rounded, faintly tinted panel that groups rows, stacked without spacing.
class SettingsCard : public QWidget
{
    Q_OBJECT
public:
    static constexpr qreal cornerRadius = 12;

    explicit SettingsCard(QWidget *parent = nullptr);

    void addRow(QWidget *row);
    // A RowDivider, for between two rows; returned so it can hide with its row.
    QWidget *addDivider();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QVBoxLayout *m_layout;
};

} // namespace veilora
