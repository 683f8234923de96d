#pragma once

#include <QAbstractButton>

#include <functional>

namespace veilora {

// The "Unlock" pill: a fingerprint and the word on a translucent capsule. The
// whole capsule is the button; each press calls `action` once.
class UnlockPillView : public QAbstractButton
{
    Q_OBJECT

public:
    static constexpr int padding = 2;
    static constexpr int spacing = 8;
    static constexpr int symbolSize = 15;
    static constexpr int textSize = 13;

    explicit UnlockPillView(std::function<void()> action, QWidget *parent = nullptr);

    QRectF capsule() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;

private:
    std::function<void()> m_action;
};

} // namespace veilora
