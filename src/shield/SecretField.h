#pragma once

#include "platform/auth/Secret.h"

#include <QWidget>

class QVariantAnimation;

namespace veilora {

// A one-line password field that keeps what is typed in a Secret instead of a
// QString (a line edit would leave copies in its text, undo history and layout
// that nothing can wipe). Enter submits, Escape cancels, Backspace removes one
// character, Ctrl+U clears. Only the keystrokes themselves pass through Qt's key
// events, one character at a time.
class SecretField : public QWidget
{
    Q_OBJECT

public:
    explicit SecretField(QWidget *parent = nullptr);

    // Shows the text as typed (a prompt that is not secret, such as a one-time code).
    void setEcho(bool echo);
    // Hands over what was typed and leaves the field empty.
    Secret take();
    void clear();
    int characterCount() const { return m_secret.characterCount(); }

    // While busy (nothing asked yet, or the answer being checked) typing is
    // ignored; Escape still cancels.
    void setBusy(bool busy);
    bool isBusy() const { return m_busy; }

    // A wrong secret: outlines the field in red and shakes it; typing clears the mark.
    void markRejected();
    bool isMarkedRejected() const { return m_rejected; }

    QSize sizeHint() const override;

Q_SIGNALS:
    void submitted();
    void cancelled();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    Secret m_secret;
    bool m_echo = false;
    bool m_busy = false;
    bool m_rejected = false;
    qreal m_shake = 0;
    QVariantAnimation *m_shakeAnimation;
};

} // namespace veilora
