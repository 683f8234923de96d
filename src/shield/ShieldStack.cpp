#include "ShieldStack.h"

#include "platform/EventLog.h"

#include <QGuiApplication>
#include <QTimer>
#include <QWindow>

#include <xcb/xproto.h>
// Xlib last: its macros (None, Bool, Status, ...) clash with Qt's names.
#include <X11/Xlib.h>

namespace veilora {

namespace {

// Above this many raises in one second another client is fighting for the top;
// the shield stops answering until the next second instead of spinning with it.
constexpr int raiseBudgetPerSecond = 20;

Display *x11Display()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->display() : nullptr;
}

// Windows may vanish between two requests; their BadWindow errors are expected
// and must not reach Xlib's default handler, which ends the process.
class ErrorTrap
{
public:
    explicit ErrorTrap(Display *display)
        : m_display(display)
    {
        XSync(m_display, False);
        s_failed = false;
        m_previous = XSetErrorHandler([](Display *, XErrorEvent *) {
            s_failed = true;
            return 0;
        });
    }
    ~ErrorTrap()
    {
        XSync(m_display, False);
        XSetErrorHandler(m_previous);
    }
    bool failed()
    {
        XSync(m_display, False);
        return s_failed;
    }

private:
    static inline bool s_failed = false;
    Display *m_display;
    XErrorHandler m_previous;
};

} // namespace

ShieldStack::ShieldStack(QObject *parent)
    : QObject(parent)
{
    if (isX11())
        qGuiApp->installNativeEventFilter(this);
    m_second.start();
}

ShieldStack::~ShieldStack()
{
    if (qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool ShieldStack::isX11()
{
    return x11Display() != nullptr;
}

void ShieldStack::setWindows(const QList<QWidget *> &windows)
{
    m_windows.clear();
    for (QWidget *window : windows)
        m_windows.append(window);
    if (!m_windows.isEmpty())
        watchRoot();
}

void ShieldStack::setTopmost(QWidget *window)
{
    m_topmost = window;
    if (window)
        watchRoot();
}

QList<QWidget *> ShieldStack::ordered() const
{
    QList<QWidget *> windows;
    for (const QPointer<QWidget> &window : m_windows)
        windows.append(window.data());
    windows.append(m_topmost.data());
    windows.removeIf([](const QWidget *window) { return !window || !window->isVisible(); });
    return windows;
}

void ShieldStack::watchRoot()
{
    Display *display = x11Display();
    if (!display)
        return;
    // Added to this client's mask on the root, keeping what Qt selected there.
    const Window root = DefaultRootWindow(display);
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, root, &attributes) &&
        !(attributes.your_event_mask & SubstructureNotifyMask))
        XSelectInput(display, root, attributes.your_event_mask | SubstructureNotifyMask);
}

bool ShieldStack::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t" || (m_windows.isEmpty() && !m_topmost))
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    switch (event->response_type & 0x7f) {
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        scheduleRestack();
        break;
    default:
        break;
    }
    return false;
}

void ShieldStack::scheduleRestack()
{
    if (m_scheduled)
        return;
    m_scheduled = true;
    QTimer::singleShot(0, this, [this] {
        m_scheduled = false;
        restack();
    });
}

bool ShieldStack::coveredOrOutOfOrder() const
{
    Display *display = x11Display();
    const QList<QWidget *> windows = ordered();
    if (!display || windows.isEmpty())
        return false;
    QList<Window> ids;
    for (QWidget *window : windows)
        ids.append(static_cast<Window>(window->winId()));

    ErrorTrap trap(display);
    Window rootReturn = 0;
    Window parentReturn = 0;
    Window *children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, DefaultRootWindow(display), &rootReturn, &parentReturn, &children, &count))
        return false;
    // Children come bottom to top. From our lowest window upwards only ours may
    // follow, in our order; anything else there that is visible covers us.
    bool covered = false;
    qsizetype expected = 0;
    for (unsigned int i = 0; i < count && !covered; ++i) {
        const qsizetype ours = ids.indexOf(children[i]);
        if (ours >= 0) {
            covered = ours != expected;
            ++expected;
        } else if (expected > 0) {
            XWindowAttributes attributes;
            covered =
                XGetWindowAttributes(display, children[i], &attributes) && attributes.map_state == IsViewable;
        }
    }
    if (children)
        XFree(children);
    return covered;
}

void ShieldStack::restack()
{
    if (!coveredOrOutOfOrder())
        return;
    if (m_second.elapsed() > 1000) {
        m_second.restart();
        m_raisesThisSecond = 0;
    }
    if (++m_raisesThisSecond > raiseBudgetPerSecond) {
        if (m_raisesThisSecond == raiseBudgetPerSecond + 1)
            EventLog::write(QStringLiteral("shield: another window keeps rising above the shield"));
        QTimer::singleShot(1000, this, [this] { scheduleRestack(); });
        return;
    }
    ++m_raises;
    for (QWidget *window : ordered())
        window->windowHandle()->raise();
}

namespace X11InputFocus {

quintptr current()
{
    Display *display = x11Display();
    if (!display)
        return 0;
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    return focus;
}

void restore(quintptr window)
{
    Display *display = x11Display();
    if (!display || window == 0)
        return;
    ErrorTrap trap(display);
    XSetInputFocus(display, static_cast<Window>(window), RevertToParent, CurrentTime);
}

} // namespace X11InputFocus

} // namespace veilora
