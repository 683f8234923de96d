#pragma once

#include <QAbstractButton>

namespace veilora {

// A rounded push button, filled with the accent colour or outlined; which one is
// fixed at creation. Space, Return and Enter press it while it has focus.
class PillButton : public QAbstractButton
{
    Q_OBJECT
    Q_PROPERTY(QString buttonTitle READ titleText WRITE setButtonTitle)
public:
    PillButton(const QString &title, bool filled, QWidget *parent = nullptr);

    bool filled() const { return m_filled; }
    // The title last applied.
    const QString &titleText() const { return m_titleText; }
    // Replaces the title. The title it already has changes nothing at all, not
    // even the layout, so a view that refreshes often can set it every time.
    void setButtonTitle(const QString &title);

    // The title's own size with room for the rounded ends.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void applyColors();
    QSize standardSize() const;

    const bool m_filled;
    QString m_titleText;
    QColor m_background;
    QColor m_border;
    QColor m_text;
};

} // namespace veilora
