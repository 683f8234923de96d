#pragma once

#include "controls/PillControls.h"

#include <QMenu>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <utility>
#include <vector>

// The views that embed the pill controls and tie them to state. Each wrapper is
// a value that its owner builds afresh from the current state on every refresh
// (VLDropdown, VLPillButton, VLSegmented); its `View` is made once, keeps the
// control and a long-lived Coordinator, and takes each new value in `update`.
// The coordinator always holds the latest value, so events act on current state.
// What a control reads only at creation stays as it was made; `update` changes
// only the pill text, the button title, the action and the selected segment.
namespace veilora {

// A two-way connection to a piece of state.
template <typename T>
struct Binding
{
    std::function<T()> get;
    std::function<void(const T &)> set;
};

// A choice among labelled values, shown as a PulldownPill with a menu.
template <typename Value>
struct VLDropdown
{
    std::vector<std::pair<Value, QString>> options;
    Binding<Value> selection;

    // The title of the first option with `value`; empty when none has it.
    QString title(const Value &value) const
    {
        for (const auto &[optionValue, optionTitle] : options) {
            if (optionValue == value)
                return optionTitle;
        }
        return {};
    }

    class Coordinator : public QObject
    {
    public:
        Coordinator(VLDropdown wrapper, QObject *owner)
            : QObject(owner)
            , parent(std::move(wrapper))
        {}

        VLDropdown parent;

        // Builds the menu afresh from the latest value and opens it under the pill.
        void pressed(PulldownPill &sender)
        {
            delete m_menu;
            m_menu = new QMenu(&sender);
            m_menu->setAttribute(Qt::WA_DeleteOnClose);
            const Value current = parent.selection.get();
            for (int i = 0; i < int(parent.options.size()); ++i) {
                QAction *item = m_menu->addAction(parent.options[size_t(i)].second);
                item->setCheckable(true);
                item->setChecked(parent.options[size_t(i)].first == current);
                QObject::connect(item, &QAction::triggered, this, [this, i] { picked(i); });
            }
            m_menu->setMinimumWidth(sender.width());
            m_menu->popup(sender.mapToGlobal(QPoint(0, sender.height() + 4)));
        }

        // Only the binding changes; the pill follows at the next update.
        void picked(int tag)
        {
            if (tag >= 0 && tag < int(parent.options.size()))
                parent.selection.set(parent.options[size_t(tag)].first);
        }

        QMenu *menu() const { return m_menu; }

    private:
        QPointer<QMenu> m_menu;
    };

    class View
    {
    public:
        View(VLDropdown wrapper, QWidget *parentWidget)
            : m_pill(new PulldownPill(wrapper.title(wrapper.selection.get()), parentWidget))
            , m_coordinator(new Coordinator(std::move(wrapper), m_pill))
        {
            QObject::connect(m_pill, &QAbstractButton::clicked, m_coordinator,
                             [coordinator = m_coordinator, pill = m_pill] { coordinator->pressed(*pill); });
        }

        void update(VLDropdown wrapper)
        {
            m_coordinator->parent = std::move(wrapper);
            const QString text = m_coordinator->parent.title(m_coordinator->parent.selection.get());
            m_pill->label->setText(text);
            m_pill->setAccessibleName(text);
        }

        PulldownPill *pill() const { return m_pill; }
        Coordinator *coordinator() const { return m_coordinator; }

    private:
        PulldownPill *m_pill;
        Coordinator *m_coordinator;
    };
};

// A PillButton with an action.
struct VLPillButton
{
    QString title;
    bool filled = false; // read only when the button is made
    std::function<void()> action;

    class Coordinator : public QObject
    {
    public:
        Coordinator(std::function<void()> initial, QObject *owner);
        std::function<void()> action;
        void tapped();
    };

    class View
    {
    public:
        View(VLPillButton wrapper, QWidget *parentWidget);
        void update(VLPillButton wrapper);
        PillButton *button() const { return m_button; }

    private:
        PillButton *m_button;
        Coordinator *m_coordinator;
    };
};

// A row of symbol segments bound to an index.
struct VLSegmented
{
    QStringList symbols;
    QStringList tooltips;
    Binding<int> selection;
    int width = 0;
    int height = 0;

    class Coordinator;
    class View;
};

class VLSegmented::Coordinator : public QObject
{
public:
    Coordinator(VLSegmented wrapper, QObject *owner);
    VLSegmented parent;
};

class VLSegmented::View
{
public:
    View(VLSegmented wrapper, QWidget *parentWidget);
    // Shows the bound selection, clamped; never writes the binding.
    void update(VLSegmented wrapper);
    CapsuleSegmentedControl *control() const { return m_control; }

private:
    CapsuleSegmentedControl *m_control;
    Coordinator *m_coordinator;
};

} // namespace veilora
