#pragma once

#include <QColor>
#include <QWidget>

#include <array>

namespace veilora {

// A small rounded square with a vertical gradient and a white pictogram: the
// tab icons of the sidebar.
class IconChip : public QWidget
{
    Q_OBJECT
public:
    static constexpr int side = 26;

    IconChip(const QString &symbolName, const std::array<QColor, 2> &colors, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {side, side}; }

    // Draws a chip into `frame` (normally side × side).
    static void paint(QPainter &painter, const QRectF &frame, const QString &symbolName,
                      const std::array<QColor, 2> &colors);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbolName;
    std::array<QColor, 2> m_colors;
};

} // namespace veilora
