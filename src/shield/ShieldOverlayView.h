#pragma once

#include "FrostedBackdrop.h"

#include <QWidget>

#include <memory>

namespace veilora {

class VisualEffectView;

// What covers one screen: the frost, the veil, and centred on them the struck-
// through eye with the title and subtitle. Texts are looked up on every paint,
// so they follow the interface language.
class ShieldOverlayView : public QWidget
{
    Q_OBJECT

public:
    static constexpr int spacing = 14;
    static constexpr int symbolSize = 44;
    static constexpr int titleSize = 20;
    static constexpr int subtitleSize = 13;

    explicit ShieldOverlayView(QWidget *parent = nullptr);
    void setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    VisualEffectView *m_effect;
    QWidget *m_veil;
    QWidget *m_message;
};

} // namespace veilora
