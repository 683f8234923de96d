#include "ShieldWindow.h"

#include "VisualEffectView.h"

namespace veilora {

namespace {

Qt::WindowFlags flagsFor(ShieldWindow::Kind kind)
{
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                            Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint;
    switch (kind) {
    case ShieldWindow::Kind::overlay:
        // Also gives the window an empty input shape on X11: the pointer goes through.
        flags |= Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus;
        break;
    case ShieldWindow::Kind::pill:
        flags |= Qt::WindowDoesNotAcceptFocus;
        break;
    case ShieldWindow::Kind::prompt:
        break;
    }
    return flags;
}

} // namespace

ShieldWindow::ShieldWindow(Kind kind, QWidget *content, std::shared_ptr<const FrostedBackdrop> backdrop)
    : QWidget(nullptr, flagsFor(kind))
    , m_kind(kind)
    , m_content(content)
{
    setWindowTitle(QString::fromLatin1(title));
    setAttribute(Qt::WA_ShowWithoutActivating, kind != Kind::prompt);
    setAttribute(Qt::WA_X11DoNotAcceptFocus, kind != Kind::prompt);
    setAttribute(Qt::WA_OpaquePaintEvent);
    if (kind != Kind::overlay) {
        auto *effect = new VisualEffectView(VisualEffectView::Material::fullScreenUI,
                                            VisualEffectView::Blending::behindWindow, this);
        effect->setBackdrop(std::move(backdrop));
        m_layers = {effect, new VeilView(this)};
    }
    content->setParent(this);
    m_layers.append(content);
}

void ShieldWindow::resizeEvent(QResizeEvent *)
{
    for (QWidget *layer : std::as_const(m_layers))
        layer->setGeometry(rect());
}

} // namespace veilora
