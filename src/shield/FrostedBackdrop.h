#pragma once

#include <QImage>
#include <QList>
#include <QRect>

#include <memory>
#include <vector>

class QPainter;
class QScreen;

namespace veilora {

// Frosted glass without a compositor's help: a copy of what the screens showed
// just before the shield went up, shrunk and blurred hard once per show, and
// stretched back to size as it is drawn.
class FrostedBackdrop
{
public:
    static constexpr int downscale = 8;  // the blur works on an eighth of the size
    static constexpr int blurRadius = 3; // box radius in shrunk pixels; three passes ≈ a Gaussian

    // The shrunk, blurred form of `image` (opaque, about 1/downscale of its size).
    static QImage frost(const QImage &image);

    // Grabs and frosts each screen. Screens lying within one that `previous`
    // covered reuse its frost instead: once the shield has been up, a grab would
    // show the shield itself or windows not yet repainted.
    static std::shared_ptr<const FrostedBackdrop> capture(const QList<QScreen *> &screens,
                                                          const FrostedBackdrop *previous = nullptr);

    // Paints what lies under `globalRect` (desktop coordinates) into `target`; the
    // parts without a capture are left untouched. Returns whether any part was painted.
    bool paint(QPainter &painter, const QRect &target, const QRect &globalRect) const;

    bool isEmpty() const { return m_tiles.empty(); }

private:
    struct Tile
    {
        QRect geometry; // desktop coordinates
        QImage frost;   // shrunk and blurred
    };

    std::vector<Tile> m_tiles;
};

} // namespace veilora
