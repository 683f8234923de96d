#include "FrostedBackdrop.h"

#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <cstdint>

namespace veilora {

namespace {

// Averages each downscale × downscale block (clipped at the edges) into one pixel.
QImage shrink(const QImage &source)
{
    const int factor = FrostedBackdrop::downscale;
    const int width = source.width();
    const int height = source.height();
    const int outWidth = (width + factor - 1) / factor;
    const int outHeight = (height + factor - 1) / factor;
    QImage out(outWidth, outHeight, QImage::Format_RGB32);
    std::vector<uint32_t> sums(static_cast<size_t>(outWidth) * 3);
    for (int outY = 0; outY < outHeight; ++outY) {
        std::fill(sums.begin(), sums.end(), 0u);
        const int y0 = outY * factor;
        const int y1 = std::min(height, y0 + factor);
        for (int y = y0; y < y1; ++y) {
            const auto *line = reinterpret_cast<const QRgb *>(source.constScanLine(y));
            for (int x = 0; x < width; ++x) {
                const QRgb pixel = line[x];
                uint32_t *sum = &sums[static_cast<size_t>(x / factor) * 3];
                sum[0] += qRed(pixel);
                sum[1] += qGreen(pixel);
                sum[2] += qBlue(pixel);
            }
        }
        auto *outLine = reinterpret_cast<QRgb *>(out.scanLine(outY));
        for (int outX = 0; outX < outWidth; ++outX) {
            const uint32_t count =
                static_cast<uint32_t>((std::min(width, (outX + 1) * factor) - outX * factor) * (y1 - y0));
            const uint32_t *sum = &sums[static_cast<size_t>(outX) * 3];
            outLine[outX] = qRgb(static_cast<int>(sum[0] / count), static_cast<int>(sum[1] / count),
                                 static_cast<int>(sum[2] / count));
        }
    }
    return out;
}

// One box-blur pass along a row or column of `count` pixels `stride` apart, the
// edge pixels repeated outwards.
void boxPass(QRgb *pixels, int count, int stride, int radius, std::vector<QRgb> &scratch)
{
    scratch.resize(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        scratch[static_cast<size_t>(i)] = pixels[i * stride];
    auto at = [&](int i) { return scratch[static_cast<size_t>(std::clamp(i, 0, count - 1))]; };
    const int window = 2 * radius + 1;
    int red = 0, green = 0, blue = 0;
    for (int i = -radius; i <= radius; ++i) {
        red += qRed(at(i));
        green += qGreen(at(i));
        blue += qBlue(at(i));
    }
    for (int i = 0; i < count; ++i) {
        pixels[i * stride] = qRgb(red / window, green / window, blue / window);
        const QRgb leaving = at(i - radius);
        const QRgb entering = at(i + radius + 1);
        red += qRed(entering) - qRed(leaving);
        green += qGreen(entering) - qGreen(leaving);
        blue += qBlue(entering) - qBlue(leaving);
    }
}

} // namespace

QImage FrostedBackdrop::frost(const QImage &image)
{
    if (image.isNull())
        return {};
    QImage small = shrink(image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32
                              ? image
                              : image.convertToFormat(QImage::Format_RGB32));
    auto *pixels = reinterpret_cast<QRgb *>(small.bits());
    const int width = small.width();
    const int height = small.height();
    const int stride = static_cast<int>(small.bytesPerLine() / 4);
    std::vector<QRgb> scratch;
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < height; ++y)
            boxPass(pixels + y * stride, width, 1, blurRadius, scratch);
        for (int x = 0; x < width; ++x)
            boxPass(pixels + x, height, stride, blurRadius, scratch);
    }
    return small;
}

std::shared_ptr<const FrostedBackdrop> FrostedBackdrop::capture(const QList<QScreen *> &screens,
                                                                const FrostedBackdrop *previous)
{
    auto backdrop = std::make_shared<FrostedBackdrop>();
    for (QScreen *screen : screens) {
        const QRect geometry = screen->geometry();
        const Tile *covering = nullptr;
        if (previous) {
            for (const Tile &tile : previous->m_tiles) {
                if (!tile.frost.isNull() && tile.geometry.contains(geometry))
                    covering = &tile;
            }
        }
        if (covering) {
            const qreal sx = qreal(covering->frost.width()) / covering->geometry.width();
            const qreal sy = qreal(covering->frost.height()) / covering->geometry.height();
            const QRect part = QRectF((geometry.x() - covering->geometry.x()) * sx,
                                      (geometry.y() - covering->geometry.y()) * sy, geometry.width() * sx,
                                      geometry.height() * sy)
                                   .toAlignedRect();
            backdrop->m_tiles.push_back(Tile{geometry, covering->frost.copy(part)});
        } else {
            backdrop->m_tiles.push_back(Tile{geometry, frost(screen->grabWindow(0).toImage())});
        }
    }
    return backdrop;
}

bool FrostedBackdrop::paint(QPainter &painter, const QRect &target, const QRect &globalRect) const
{
    bool painted = false;
    for (const Tile &tile : m_tiles) {
        const QRect overlap = tile.geometry.intersected(globalRect);
        if (overlap.isEmpty() || tile.frost.isNull())
            continue;
        // Stretched while drawn: one bilinear pass straight into the window's
        // buffer, cheaper than keeping a full-size copy per screen.
        const qreal sx = qreal(tile.frost.width()) / tile.geometry.width();
        const qreal sy = qreal(tile.frost.height()) / tile.geometry.height();
        const QRectF source((overlap.x() - tile.geometry.x()) * sx, (overlap.y() - tile.geometry.y()) * sy,
                            overlap.width() * sx, overlap.height() * sy);
        const QRectF destination(target.topLeft() + (overlap.topLeft() - globalRect.topLeft()),
                                 QSizeF(overlap.size()));
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(destination, tile.frost, source);
        painter.restore();
        painted = true;
    }
    return painted;
}

} // namespace veilora
