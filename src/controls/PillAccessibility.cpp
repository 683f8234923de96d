#include "PillAccessibility.h"

#include "controls/CapsuleSegmentedControl.h"
#include "controls/PulldownPill.h"

#include <QAccessibleWidget>
#include <QPointer>

#include <vector>

namespace veilora::PillAccessibility {

namespace {

class PulldownPillAccessible : public QAccessibleWidget
{
public:
    explicit PulldownPillAccessible(PulldownPill *pill)
        : QAccessibleWidget(pill, QAccessible::ButtonMenu)
    {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name && pill()->accessibleName().isEmpty())
            return pill()->label->text();
        return QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = true;
        state.pressed = pill()->isDown();
        return state;
    }

    // The label and the chevron are the pill's own drawing, not parts to visit.
    int childCount() const override { return 0; }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    QStringList actionNames() const override
    {
        return QStringList{showMenuAction(), pressAction()} + QAccessibleWidget::actionNames();
    }

    void doAction(const QString &action) override
    {
        if (action == showMenuAction() || action == pressAction())
            pill()->click();
        else
            QAccessibleWidget::doAction(action);
    }

private:
    PulldownPill *pill() const { return static_cast<PulldownPill *>(widget()); }
};

// One segment: not a widget of its own, so Qt needs this interface to know it.
class SegmentAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    SegmentAccessible(CapsuleSegmentedControl *control, int index)
        : m_control(control)
        , m_index(index)
    {}

    bool isValid() const override { return m_control && m_index < m_control->segmentCount(); }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override
    {
        const QAccessibleInterface *owner = parent();
        return owner ? owner->window() : nullptr;
    }
    QAccessibleInterface *parent() const override { return QAccessible::queryAccessibleInterface(m_control); }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    QString text(QAccessible::Text kind) const override
    {
        if (!isValid() || m_index >= m_control->iconViews().size())
            return {};
        const QString tooltip = m_control->iconViews()[m_index]->toolTip();
        return kind == QAccessible::Name || kind == QAccessible::Description ? tooltip : QString();
    }
    void setText(QAccessible::Text, const QString &) override {}

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect local = m_control->segmentRect(m_index).toAlignedRect();
        return QRect(m_control->mapToGlobal(local.topLeft()), local.size());
    }

    QAccessible::Role role() const override { return QAccessible::PageTab; }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.selectable = true;
        state.selected = m_control->selectedIndex() == m_index;
        state.disabled = !m_control->isEnabled();
        state.invisible = !m_control->isVisible();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &action) override
    {
        if (action == pressAction() && isValid())
            m_control->activateSegment(m_index);
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    QPointer<CapsuleSegmentedControl> m_control;
    const int m_index;
};

class SegmentedControlAccessible : public QAccessibleWidget
{
public:
    explicit SegmentedControlAccessible(CapsuleSegmentedControl *control)
        : QAccessibleWidget(control, QAccessible::PageTabList)
    {}

    ~SegmentedControlAccessible() override
    {
        for (const QAccessible::Id id : m_segments) {
            if (id)
                QAccessible::deleteAccessibleInterface(id);
        }
    }

    // The segments, in order; the icon views inside them are only pictures.
    int childCount() const override { return control()->segmentCount(); }

    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        if (m_segments.size() < size_t(childCount()))
            m_segments.resize(size_t(childCount()), 0);
        QAccessible::Id &id = m_segments[size_t(index)];
        if (!id)
            id = QAccessible::registerAccessibleInterface(new SegmentAccessible(control(), index));
        return QAccessible::accessibleInterface(id);
    }

    int indexOfChild(const QAccessibleInterface *segment) const override
    {
        for (int i = 0; i < int(m_segments.size()); ++i) {
            if (m_segments[size_t(i)] && QAccessible::accessibleInterface(m_segments[size_t(i)]) == segment)
                return i;
        }
        return -1;
    }

    QAccessibleInterface *childAt(int x, int y) const override
    {
        const QPoint local = control()->mapFromGlobal(QPoint(x, y));
        for (int i = 0; i < childCount(); ++i) {
            if (control()->segmentRect(i).contains(local))
                return child(i);
        }
        return nullptr;
    }

    QAccessibleInterface *focusChild() const override
    {
        return control()->hasFocus() ? child(control()->selectedIndex()) : nullptr;
    }

private:
    CapsuleSegmentedControl *control() const { return static_cast<CapsuleSegmentedControl *>(widget()); }

    mutable std::vector<QAccessible::Id> m_segments;
};

QAccessibleInterface *factory(const QString &className, QObject *object)
{
    if (className == QLatin1String(PulldownPill::staticMetaObject.className()))
        return new PulldownPillAccessible(static_cast<PulldownPill *>(object));
    if (className == QLatin1String(CapsuleSegmentedControl::staticMetaObject.className()))
        return new SegmentedControlAccessible(static_cast<CapsuleSegmentedControl *>(object));
    return nullptr;
}

} // namespace

void install()
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

} // namespace veilora::PillAccessibility
