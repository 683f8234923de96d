#pragma once

#include <QScrollArea>
#include <QScrollBar>

#include <optional>

namespace veilora {

// A vertical scroll bar without a track: only a slim rounded knob, so a
// scrollable pane blends into the window's background.
class BlendScrollBar : public QScrollBar
{
    Q_OBJECT
public:
    static constexpr int thickness = 12;

    explicit BlendScrollBar(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    // The knob's rectangle in the bar's coordinates.
    QRectF knob() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    int valueAt(qreal knobTop) const;

    bool m_hovered = false;
    std::optional<qreal> m_dragOffset;
};

// A frameless, transparent scroll area whose BlendScrollBar floats over the
// content's edge instead of taking width from it, so the content does not shift
// when the bar appears.
class BlendScrollArea : public QScrollArea
{
    Q_OBJECT
public:
    explicit BlendScrollArea(QWidget *parent = nullptr);

    // Instead of setWidget(): keeps the content transparent.
    void setContent(QWidget *content);
};

} // namespace veilora
