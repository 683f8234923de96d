#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QLabel>
#include <QList>
#include <QWidget>

#include <functional>
#include <optional>

namespace veilora {

// A rounded field showing the current choice and a chevron; clicking anywhere on
// it (label and chevron included) sends `clicked`, where its owner opens the menu
// of choices. Its colours follow the palette (PillTheme).
class PulldownPill : public QAbstractButton
{
    Q_OBJECT
public:
    explicit PulldownPill(const QString &title, QWidget *parent = nullptr);

    QLabel *const label;
    QLabel *const chevron;

    // Below 0.01 the pill takes no clicks, however it is drawn.
    qreal alpha() const { return m_alpha; }
    void setAlpha(qreal alpha);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &pos) const override;
    void changeEvent(QEvent *event) override;

private:
    void applyColors();

    qreal m_alpha = 1.0;
};

// A rounded push button, filled with the accent colour or outlined; which one is
// fixed at creation. Setting the title it already has does nothing at all, so a
// view that refreshes often causes no relayout.
class PillButton : public QAbstractButton
{
    Q_OBJECT
public:
    PillButton(const QString &title, bool filled, QWidget *parent = nullptr);

    bool filled() const { return m_filled; }
    QString titleText() const { return m_titleText; }
    void setButtonTitle(const QString &title);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void applyColors();

    const bool m_filled;
    QString m_titleText;
};

// A capsule of icon segments with one selected. `selectedIndex` is always within
// the segments; the user changes it by clicking or with the arrow keys, which
// also reports the pick through `onSelect`.
class CapsuleSegmentedControl : public QWidget
{
    Q_OBJECT
public:
    // `images` are template images (one colour): each is drawn in the text
    // colour when selected and in a secondary tone otherwise.
    CapsuleSegmentedControl(const QList<QImage> &images, const QStringList &tooltips, int width, int height,
                            std::optional<qreal> cornerRadius, QWidget *parent = nullptr);

    // Told when the user picks another segment; a disabled control takes no picks.
    std::function<void(int index)> onSelect;

    int selectedIndex() const { return m_selectedIndex; }
    void setSelectedIndex(int index);
    int segmentCount() const { return m_segmentCount; }
    const QList<QLabel *> &iconViews() const { return m_iconViews; }

    // The segment under a point of the widget, or none when it has no width.
    std::optional<int> segmentAt(qreal x) const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void pick(int index);
    void tintIcons();
    void layoutIcons();

    QList<QImage> m_images;
    QList<QLabel *> m_iconViews;
    int m_segmentCount;
    std::optional<qreal> m_cornerRadius;
    int m_selectedIndex = 0;
};

} // namespace veilora
