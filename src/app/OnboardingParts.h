#pragma once

#include <QAbstractButton>
#include <QWidget>

#include <chrono>

class QTimer;

namespace veilora {

class PillButton;
class ToneLabel;

// Which of the onboarding's pages shows: one small circle per page, the
// current one in the accent colour.
class PageDots : public QWidget
{
    Q_OBJECT
public:
    static constexpr int count = 3;
    static constexpr int diameter = 6;
    static constexpr int spacing = 5;

    explicit PageDots(QWidget *parent = nullptr);

    int current() const { return m_current; }
    void setCurrent(int page);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    // The circle of `page`, in the widget's coordinates.
    QRectF dotRect(int page) const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_current = 0;
};

// Three accent dots lit one after the other: the application is waiting for
// something outside it. Runs only while shown.
class WaitingDots : public QWidget
{
    Q_OBJECT
public:
    static constexpr int count = 3;
    static constexpr int diameter = 4;
    static constexpr int spacing = 3;
    static constexpr std::chrono::milliseconds step{400};

    explicit WaitingDots(QWidget *parent = nullptr);

    int highlighted() const { return m_highlighted; }
    QTimer *timer() const { return m_timer; }
    // How opaque the dot `index` is drawn now.
    qreal opacity(int index) const { return index == m_highlighted ? 1.0 : 0.25; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QTimer *m_timer;
    int m_highlighted = 0;
};

// The camera permission's chip: a video symbol on a faint accent square, or a
// check mark on faint green once access is granted.
class PermissionChip : public QWidget
{
    Q_OBJECT
public:
    static constexpr int side = 36;

    explicit PermissionChip(QWidget *parent = nullptr);

    bool granted() const { return m_granted; }
    void setGranted(bool granted);
    QString symbolName() const;
    QColor symbolColor() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_granted = false;
};

// A symbol centred in a fixed-width frame, so that the texts beside a column of
// them line up whatever each symbol's shape.
class HintSymbol : public QWidget
{
    Q_OBJECT
public:
    static constexpr int frameWidth = 20;
    static constexpr int symbolSize = 13;

    explicit HintSymbol(const QString &symbolName, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {frameWidth, symbolSize + 4}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbolName;
};

// A small button that is only its text, in the accent colour: a secondary way
// out that should not compete with the page's main action. A text wider than
// the page wraps onto a second line.
class PlainButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit PlainButton(const QString &title, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};

namespace Onboarding {

// The page's main action: an accent pill across the page, 36 high.
PillButton *makePrimaryButton(QWidget *parent = nullptr);

// Sets `text` centred with `lineSpacing` pixels between its lines.
void setSpacedText(ToneLabel *label, const QString &text, int lineSpacing);

} // namespace Onboarding

} // namespace veilora
