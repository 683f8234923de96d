#pragma once

#include "FrostedBackdrop.h"

#include <QWidget>

#include <memory>

namespace veilora {

// A frosted-glass background. Shows the part of a FrostedBackdrop that lies
// under it on the desktop; without one (nothing captured, or a view that is not
// over a shield), a translucent tint of its material.
class VisualEffectView : public QWidget
{
    Q_OBJECT

public:
    // Raw values as the materials and blending modes are known elsewhere.
    enum class Material
    {
        sidebar = 7,
        fullScreenUI = 15,
    };
    enum class Blending
    {
        behindWindow = 0,
        withinWindow = 1,
    };

    VisualEffectView(Material material, Blending blending, QWidget *parent = nullptr);

    Material material() const { return m_material; }
    Blending blending() const { return m_blending; }
    void setMaterial(Material material, Blending blending);
    void setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Material m_material;
    Blending m_blending;
    std::shared_ptr<const FrostedBackdrop> m_backdrop;
};

// The shield's veil: black at 35 %, darkening the frost beneath it.
class VeilView : public QWidget
{
    Q_OBJECT

public:
    static constexpr qreal opacity = 0.35;
    explicit VeilView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace veilora
