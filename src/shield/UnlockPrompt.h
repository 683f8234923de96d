#pragma once

#include "FrostedBackdrop.h"
#include "ShieldWindow.h"
#include "platform/auth/CredentialPrompt.h"

#include <QObject>
#include <QPointer>
#include <QRect>

#include <functional>
#include <memory>

namespace veilora {

class ShieldStack;
class UnlockPromptView;

// The password prompt above the shield, as the authenticator's CredentialPrompt.
//
// While open it holds the keyboard (a grab, so a window popping up meanwhile
// cannot catch the password) and gives the focus back to where it was on close.
class UnlockPrompt : public QObject, public CredentialPrompt
{
    Q_OBJECT

public:
    // Where the prompt goes and what lies beneath it, asked each time it opens.
    struct Placement
    {
        QRect geometry;
        std::shared_ptr<const FrostedBackdrop> backdrop;
    };
    using Placer = std::function<Placement()>;

    UnlockPrompt(ShieldStack &stack, Placer placer, QObject *parent = nullptr);
    ~UnlockPrompt() override;

    void open(const QString &reason, std::function<void()> cancel) override;
    void askSecret(const QString &message, bool echo, std::function<void(Secret)> answer) override;
    void showMessage(const QString &text, MessageKind kind) override;
    void reject() override;
    void close() override;

    bool isOpen() const { return m_window != nullptr; }
    ShieldWindow *window() const { return m_window; }
    UnlockPromptView *view() const { return m_view; }

    // Cancels on the user's behalf (the shield went down, say).
    void dismiss();
    // Takes the keyboard back (the user pressed the pill again) and follows the
    // screens after a change.
    void refocus();
    void reposition();

private:
    void submit();

    ShieldStack &m_stack;
    Placer m_placer;
    QPointer<ShieldWindow> m_window;
    UnlockPromptView *m_view = nullptr;
    std::function<void()> m_cancel;
    std::function<void(Secret)> m_answer;
    quintptr m_previousFocus = 0;
};

} // namespace veilora
