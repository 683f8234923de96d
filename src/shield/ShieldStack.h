#pragma once

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

namespace veilora {

// Keeps the shield's windows above every other window while they are up.
//
// The windows are override-redirect on X11, so no window manager stacks, moves,
// frames or focuses them, and they stay mapped across virtual desktops. That
// alone puts them on top only when they map: a window mapped or raised later
// (a full-screen video, a panel, a notification) would cover them. So the stack
// watches the root window's children and raises the shield again whenever
// another window ends up above it. Elsewhere than on X11 it does nothing.
class ShieldStack : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit ShieldStack(QObject *parent = nullptr);
    ~ShieldStack() override;

    // The windows from bottom to top; the topmost one (a prompt) goes above them all.
    void setWindows(const QList<QWidget *> &windows);
    void setTopmost(QWidget *window);

    // Raises the windows now if anything else lies above the lowest of them.
    void restack();
    int raiseCount() const { return m_raises; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

    static bool isX11();

private:
    QList<QWidget *> ordered() const;
    bool coveredOrOutOfOrder() const;
    void watchRoot();
    void scheduleRestack();

    QList<QPointer<QWidget>> m_windows;
    QPointer<QWidget> m_topmost;
    bool m_scheduled = false;
    int m_raises = 0;
    int m_raisesThisSecond = 0;
    QElapsedTimer m_second;
};

// The X11 keyboard focus, so that a prompt that takes it can give it back.
namespace X11InputFocus {
// The window holding the focus now (0 where unknown or not on X11).
quintptr current();
// Gives the focus back to `window`, unless it is gone meanwhile.
void restore(quintptr window);
} // namespace X11InputFocus

} // namespace veilora
