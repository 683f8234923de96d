#include "UnlockPrompt.h"

#include "SecretField.h"
#include "ShieldStack.h"
#include "ShieldWindow.h"
#include "UnlockPromptView.h"
#include "platform/EventLog.h"

#include <QWindow>

namespace veilora {

UnlockPrompt::UnlockPrompt(ShieldStack &stack, Placer placer, QObject *parent)
    : QObject(parent)
    , m_stack(stack)
    , m_placer(std::move(placer))
{}

UnlockPrompt::~UnlockPrompt()
{
    dismiss();
}

void UnlockPrompt::open(const QString &reason, std::function<void()> cancel)
{
    dismiss();
    m_cancel = std::move(cancel);
    const Placement placement = m_placer();
    m_view = new UnlockPromptView;
    m_view->setReason(reason);
    m_view->field()->setBusy(true);
    m_window = new ShieldWindow(ShieldWindow::Kind::prompt, m_view, placement.backdrop);
    m_window->setGeometry(placement.geometry);
    connect(m_view->field(), &SecretField::submitted, this, &UnlockPrompt::submit);
    connect(m_view->field(), &SecretField::cancelled, this, &UnlockPrompt::dismiss);

    m_previousFocus = X11InputFocus::current();
    m_window->show();
    m_stack.setTopmost(m_window);
    refocus();
}

void UnlockPrompt::refocus()
{
    if (!m_window)
        return;
    m_window->raise();
    m_window->activateWindow();
    m_view->field()->setFocus(Qt::OtherFocusReason);
    m_view->field()->grabKeyboard();
    // Another client's grab (an open menu) makes ours fail; the prompt then
    // still has the focus, just not the keyboard to itself.
    if (!m_window->windowHandle()->setKeyboardGrabEnabled(true))
        EventLog::write(
            QStringLiteral("shield: the keyboard is held elsewhere; the prompt only has the focus"));
}

void UnlockPrompt::reposition()
{
    if (m_window)
        m_window->setGeometry(m_placer().geometry);
}

void UnlockPrompt::askSecret(const QString &message, bool echo, std::function<void(Secret)> answer)
{
    if (!m_window)
        return;
    m_answer = std::move(answer);
    m_view->setRequest(message);
    SecretField *field = m_view->field();
    field->setEcho(echo);
    field->clear();
    field->setBusy(false);
    field->setFocus(Qt::OtherFocusReason);
}

void UnlockPrompt::showMessage(const QString &text, MessageKind kind)
{
    if (m_view)
        m_view->setMessage(text, kind);
}

void UnlockPrompt::reject()
{
    if (m_view) {
        m_view->setMessage(QString(), MessageKind::info);
        m_view->field()->markRejected();
    }
}

void UnlockPrompt::submit()
{
    if (!m_answer)
        return;
    // Disabled while the stack checks (pam_unix takes a moment on a wrong one).
    m_view->field()->setBusy(true);
    std::exchange(m_answer, nullptr)(m_view->field()->take());
}

void UnlockPrompt::dismiss()
{
    if (auto cancel = std::exchange(m_cancel, nullptr))
        cancel();
    close();
}

void UnlockPrompt::close()
{
    m_cancel = nullptr;
    m_answer = nullptr;
    if (!m_window)
        return;
    m_view->field()->releaseKeyboard();
    m_stack.setTopmost(nullptr);
    m_window->hide();
    m_window->deleteLater();
    m_window = nullptr;
    m_view = nullptr;
    X11InputFocus::restore(std::exchange(m_previousFocus, 0));
}

} // namespace veilora
