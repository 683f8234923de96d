#pragma once

#include "controls/IconView.h"

#include <QIcon>
#include <QList>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <optional>

namespace veilora {

// A capsule of icon segments with one selected. The user picks a segment with a
// click, or with the arrow keys once Tab has brought focus to the control.
class CapsuleSegmentedControl : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int selectedIndex READ selectedIndex WRITE setSelectedIndex)
public:
    // One segment per image, but at least one. The images are template icons,
    // shown at their own size: the selected one in the text colour, the others
    // in a secondary tone. Tooltips go to the segment of the same index; extra
    // ones are ignored. The control keeps the given size. Without a corner
    // radius, or with one beyond half the height, the outline is a capsule.
    CapsuleSegmentedControl(const QList<QIcon> &images, const QStringList &tooltips, int width, int height,
                            std::optional<qreal> cornerRadius = std::nullopt, QWidget *parent = nullptr);

    // Told when the user picks another segment (not the selected one again).
    std::function<void(int index)> onSelect;

    int selectedIndex() const { return m_selectedIndex; }
    // Clamped to the segments; selects without telling onSelect.
    void setSelectedIndex(int index);
    int segmentCount() const { return m_segmentCount; }
    std::optional<qreal> cornerRadius() const { return m_cornerRadius; }
    const QList<IconView *> &iconViews() const { return m_iconViews; }

    // Picks `index` as the user would: selects it and tells onSelect, unless it
    // is selected already or the control is disabled. Keyboard and assistive
    // technology come through here.
    void activateSegment(int index);
    // The segment's rectangle in the control.
    QRectF segmentRect(int index) const;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    qreal segmentWidth() const;
    std::optional<int> segmentAt(qreal x) const;
    void tintIcons();
    void layoutIcons();

    QList<IconView *> m_iconViews;
    const int m_segmentCount;
    const std::optional<qreal> m_cornerRadius;
    int m_selectedIndex = 0;
};

} // namespace veilora
