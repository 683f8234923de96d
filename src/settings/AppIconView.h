#pragma once

#include <QIcon>
#include <QWidget>

namespace veilora {

// The application's icon, drawn as vectors so it is sharp at every size and
// scale: a blue squircle with a white shield and a bar across it.
class AppIconView : public QWidget
{
    Q_OBJECT
public:
    explicit AppIconView(int size, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {m_size, m_size}; }

    // Draws the icon centred in `frame`, scaled to the frame's smaller side.
    static void paint(QPainter &painter, const QRectF &frame);

    // For the window icon: the drawing at the usual icon sizes.
    static QIcon icon();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_size;
};

} // namespace veilora
