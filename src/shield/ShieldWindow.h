#pragma once

#include "FrostedBackdrop.h"

#include <QWidget>

#include <memory>

namespace veilora {

class VisualEffectView;

// One top-level window of the shield: frameless, override-redirect on X11 (no
// window manager frames, moves or hides it, and it shows on every virtual
// desktop), above other windows, titled "com.norvane.privacy-shield".
//
// An overlay lets every click and scroll through to the windows beneath and
// never takes focus; a pill takes clicks but not focus; a prompt takes the
// keyboard. Pill and prompt lie on the same frost and veil as the overlay under
// them, so they need no compositor to blend in.
class ShieldWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr const char *title = "com.norvane.privacy-shield";

    enum class Kind
    {
        overlay,
        pill,
        prompt
    };

    // `content` fills the window; `backdrop` is drawn beneath it (pill and prompt).
    ShieldWindow(Kind kind, QWidget *content, std::shared_ptr<const FrostedBackdrop> backdrop = {});

    Kind kind() const { return m_kind; }
    QWidget *content() const { return m_content; }

    // What a pill or prompt draws beneath its content, for a window kept hidden
    // and shown again over a newer frost.
    void setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    Kind m_kind;
    VisualEffectView *m_effect = nullptr; // pill and prompt
    QList<QWidget *> m_layers;
    QWidget *m_content;
};

} // namespace veilora
