#pragma once

#include <QWidget>

#include <chrono>

namespace veilora {

class TesterModel;

// Counts the hidden gesture: eight clicks, each within two seconds of the one
// before. A longer pause starts the count again.
class TesterGesture
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr int clicksNeeded = 8;
    static constexpr std::chrono::milliseconds maxPause{2000};

    // True on the click that completes the gesture.
    bool click(Clock::time_point now);
    int clicks() const { return m_clicks; }

private:
    int m_clicks = 0;
    Clock::time_point m_lastClick{};
    bool m_clickedBefore = false;
};

// The application icon in the settings sidebar, which also switches tester
// mode by the gesture and shows it on by a red outline. Nothing else tells.
class TesterModeIcon : public QWidget
{
    Q_OBJECT
public:
    TesterModeIcon(int size, TesterModel &tester, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {m_size + 8, m_size + 8}; }
    const TesterGesture &gesture() const { return m_gesture; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    int m_size;
    TesterModel &m_tester;
    TesterGesture m_gesture;
};

} // namespace veilora
