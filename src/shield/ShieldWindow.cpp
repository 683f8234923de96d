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
        m_effect = new VisualEffectView(VisualEffectView::Material::fullScreenUI,
                                        VisualEffectView::Blending::behindWindow, this);
        m_effect->setBackdrop(std::move(backdrop));
        m_layers = {m_effect, new VeilView(this)};
    }
    content->setParent(this);
    m_layers.append(content);
}

void ShieldWindow::setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop)
{
    if (m_effect)
        m_effect->setBackdrop(std::move(backdrop));
}

void ShieldWindow::resizeEvent(QResizeEvent *)
{
    for (QWidget *layer : std::as_const(m_layers))
        layer->setGeometry(rect());
}

} // namespace veilora
