#include "Symbols.h"

#include "controls/Pictograms.h"
#include "controls/ShieldShape.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <functional>
#include <map>

namespace veilora::Symbols {

namespace {

// Each symbol is laid out on a 24 × 24 grid; `u` converts grid units to pixels
// and `at` grid points to positions in the box.
struct Grid
{
    QRectF box;
    qreal u = box.width() / 24.0;
    QPointF at(qreal x, qreal y) const { return box.topLeft() + QPointF(x * u, y * u); }
    QRectF rect(qreal x, qreal y, qreal w, qreal h) const { return {at(x, y), QSizeF(w * u, h * u)}; }
};

qreal strokeFor(QFont::Weight weight)
{
    // Regular 2 grid units; each weight step a little heavier.
    return 1.6 + 0.6 * (int(weight) - int(QFont::Light)) / qreal(int(QFont::Bold) - int(QFont::Light));
}

QPainterPath circle(const Grid &g, qreal x, qreal y, qreal r)
{
    QPainterPath path;
    path.addEllipse(g.at(x, y), r * g.u, r * g.u);
    return path;
}

QPainterPath stroked(const QPainterPath &path, qreal width, Qt::PenCapStyle cap = Qt::RoundCap)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(cap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path);
}

QPainterPath gear(const Grid &g)
{
    QPainterPath body;
    const QPointF c = g.at(12, 12);
    constexpr int teeth = 8;
    // Drawn 0.8 units small, then grown by a round-joined stroke: rounded teeth.
    const qreal outer = 9.7 * g.u, inner = 7.3 * g.u;
    for (int i = 0; i < teeth * 4; ++i) {
        // Each tooth: rise, top, fall, root — a quarter of its period each.
        const qreal angle = (i - 0.5) * 2 * M_PI / (teeth * 4);
        const qreal r = (i % 4 == 1 || i % 4 == 2) ? outer : inner;
        const QPointF p = c + QPointF(r * qCos(angle), r * qSin(angle));
        i == 0 ? body.moveTo(p) : body.lineTo(p);
    }
    body.closeSubpath();
    body = body.united(stroked(body, 1.6 * g.u));
    return body.subtracted(circle(g, 12, 12, 3.4));
}

QPainterPath lockShield(const Grid &g)
{
    QPainterPath shield = ShieldShape::path(QRectF(0, 0, 18 * g.u, 21 * g.u)).translated(g.at(3, 1.5));
    QPainterPath lock;
    lock.addRoundedRect(g.rect(8, 11, 8, 6.5), 1.2 * g.u, 1.2 * g.u);
    QPainterPath shackle;
    shackle.moveTo(g.at(9.7, 11.2));
    shackle.lineTo(g.at(9.7, 9.5));
    shackle.arcTo(g.rect(9.7, 7.2, 4.6, 4.6), 180, -180);
    shackle.lineTo(g.at(14.3, 11.2));
    lock = lock.united(stroked(shackle, 1.5 * g.u));
    return shield.subtracted(lock);
}

QPainterPath personCircle(const Grid &g)
{
    QPainterPath disc = circle(g, 12, 12, 11);
    QPainterPath figure = circle(g, 12, 9.2, 3.9);
    QPainterPath shoulders;
    shoulders.addEllipse(g.rect(5.2, 14.6, 13.6, 11));
    figure = figure.united(shoulders.intersected(circle(g, 12, 12, 9.6)));
    return disc.subtracted(figure);
}

QPainterPath infoCircle(const Grid &g)
{
    QPainterPath disc = circle(g, 12, 12, 11);
    QPainterPath mark = circle(g, 12, 7.4, 1.6);
    QPainterPath stem;
    stem.addRoundedRect(g.rect(10.6, 10.2, 2.8, 8.2), 1.2 * g.u, 1.2 * g.u);
    return disc.subtracted(mark.united(stem));
}

QPainterPath warningTriangle(const Grid &g)
{
    QPainterPath triangle;
    triangle.moveTo(g.at(12, 2.5));
    triangle.lineTo(g.at(22.5, 21));
    triangle.lineTo(g.at(1.5, 21));
    triangle.closeSubpath();
    triangle = triangle.united(stroked(triangle, 2 * g.u));
    QPainterPath mark;
    mark.addRoundedRect(g.rect(10.8, 8.5, 2.4, 7.5), 1.2 * g.u, 1.2 * g.u);
    return triangle.subtracted(mark.united(circle(g, 12, 18.3, 1.4)));
}

QPainterPath camera(const Grid &g)
{
    QPainterPath body;
    body.addRoundedRect(g.rect(1.5, 6, 15, 12.5), 2.6 * g.u, 2.6 * g.u);
    QPainterPath lens;
    lens.moveTo(g.at(17.5, 10.5));
    lens.lineTo(g.at(22.5, 7.5));
    lens.lineTo(g.at(22.5, 17));
    lens.lineTo(g.at(17.5, 14));
    lens.closeSubpath();
    return body.united(stroked(lens, 1.2 * g.u)).united(lens);
}

QPainterPath personCheckmark(const Grid &g, qreal stroke)
{
    QPainterPath figure = circle(g, 8.5, 7, 4.2);
    QPainterPath body;
    body.addRoundedRect(g.rect(1, 13, 15, 9.5), 4.5 * g.u, 4.5 * g.u);
    figure = figure.united(body);
    QPainterPath tick;
    tick.moveTo(g.at(13.5, 15.5));
    tick.lineTo(g.at(16.5, 18.5));
    tick.lineTo(g.at(22.5, 11));
    // The tick stands apart from the figure by a gap as wide as itself.
    return figure.subtracted(stroked(tick, 3 * stroke * g.u)).united(stroked(tick, stroke * g.u));
}

using Builder = std::function<void(QPainter &, const Grid &, qreal stroke)>;

void fill(QPainter &painter, const QPainterPath &path)
{
    painter.drawPath(path);
}

void line(QPainter &painter, const Grid &g, qreal stroke, std::initializer_list<QPointF> points)
{
    QPainterPath path;
    bool first = true;
    for (const QPointF &p : points) {
        first ? path.moveTo(g.at(p.x(), p.y())) : path.lineTo(g.at(p.x(), p.y()));
        first = false;
    }
    painter.drawPath(stroked(path, stroke * g.u));
}

const std::map<QString, Builder> &builders()
{
    static const std::map<QString, Builder> table{
        {QStringLiteral("gearshape.fill"), [](QPainter &p, const Grid &g, qreal) { fill(p, gear(g)); }},
        {QStringLiteral("lock.shield.fill"),
         [](QPainter &p, const Grid &g, qreal) { fill(p, lockShield(g)); }},
        {QStringLiteral("person.crop.circle.fill"),
         [](QPainter &p, const Grid &g, qreal) { fill(p, personCircle(g)); }},
        {QStringLiteral("info.circle.fill"),
         [](QPainter &p, const Grid &g, qreal) { fill(p, infoCircle(g)); }},
        {QStringLiteral("exclamationmark.triangle.fill"),
         [](QPainter &p, const Grid &g, qreal) { fill(p, warningTriangle(g)); }},
        {QStringLiteral("camera.fill"), [](QPainter &p, const Grid &g, qreal) { fill(p, camera(g)); }},
        {QStringLiteral("person.fill.checkmark"),
         [](QPainter &p, const Grid &g, qreal s) { fill(p, personCheckmark(g, s * 1.1)); }},
        {QStringLiteral("chevron.down"),
         [](QPainter &p, const Grid &g, qreal s) {
             line(p, g, s * 1.5, {{4, 8.5}, {12, 16.5}, {20, 8.5}});
         }},
        {QStringLiteral("chevron.right"),
         [](QPainter &p, const Grid &g, qreal s) {
             line(p, g, s * 1.5, {{8.5, 4}, {16.5, 12}, {8.5, 20}});
         }},
        {QStringLiteral("checkmark"),
         [](QPainter &p, const Grid &g, qreal s) {
             line(p, g, s * 1.3, {{3.5, 12.5}, {9.5, 18.5}, {20.5, 5.5}});
         }},
        {QStringLiteral("eye.slash.fill"),
         [](QPainter &p, const Grid &g, qreal) { Pictograms::drawEyeSlash(p, g.box, p.brush().color()); }},
        {QStringLiteral("touchid"),
         [](QPainter &p, const Grid &g, qreal) { Pictograms::drawFingerprint(p, g.box, p.brush().color()); }},
    };
    return table;
}

} // namespace

bool exists(const QString &name)
{
    return builders().count(name) > 0;
}

void draw(QPainter &painter, const QString &name, const QRectF &box, const QColor &tint, QFont::Weight weight)
{
    const auto found = builders().find(name);
    if (found == builders().end())
        return;
    const qreal side = std::min(box.width(), box.height());
    const Grid grid{QRectF(box.center() - QPointF(side, side) / 2, QSizeF(side, side))};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    found->second(painter, grid, strokeFor(weight));
    painter.restore();
}

namespace {

// The square a symbol of `pointSize` takes: its em box with room for the
// glyphs that reach a little beyond it.
int sideFor(qreal pointSize)
{
    return qCeil(pointSize * 1.15);
}

QPixmap render(const QString &name, QSize size, QFont::Weight weight, const QColor &tint, qreal ratio)
{
    QPixmap pixmap(QSize(qRound(size.width() * ratio), qRound(size.height() * ratio)));
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    draw(painter, name, QRectF(QPointF(), QSizeF(size)), tint, weight);
    return pixmap;
}

class SymbolIconEngine : public QIconEngine
{
public:
    SymbolIconEngine(const QString &name, int side, QFont::Weight weight)
        : m_name(name)
        , m_side(side)
        , m_weight(weight)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        draw(*painter, m_name, rect, Qt::black, m_weight);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        return render(m_name, size, m_weight, Qt::black, 1.0);
    }

    // Qt asks in device pixels and sets the pixel ratio on what it gets back.
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode, QIcon::State, qreal) override
    {
        return render(m_name, size, m_weight, Qt::black, 1.0);
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        return size.boundedTo(QSize(m_side, m_side));
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override { return {QSize(m_side, m_side)}; }
    QString iconName() override { return m_name; }
    QString key() const override { return QStringLiteral("veilora.symbol"); }
    QIconEngine *clone() const override { return new SymbolIconEngine(m_name, m_side, m_weight); }

private:
    const QString m_name;
    const int m_side;
    const QFont::Weight m_weight;
};

} // namespace

QPixmap image(const QString &name, qreal pointSize, QFont::Weight weight, const QColor &tint,
              qreal devicePixelRatio)
{
    if (!exists(name))
        return {};
    const int side = sideFor(pointSize);
    return render(name, QSize(side, side), weight, tint, devicePixelRatio);
}

QIcon icon(const QString &name, qreal pointSize, QFont::Weight weight)
{
    if (!exists(name))
        return {};
    return QIcon(new SymbolIconEngine(name, sideFor(pointSize), weight));
}

} // namespace veilora::Symbols
