#pragma once

#include "controls/Binding.h"
#include "controls/ChoiceMenu.h"
#include "controls/PulldownPill.h"

#include <QAccessible>
#include <QMenu>
#include <QPointer>
#include <QString>

#include <utility>
#include <vector>

namespace veilora {

// A choice among labelled values, bound to a selection, shown as a PulldownPill
// whose menu lists the options.
//
// The wrapper is a value its owner builds afresh from the current state on every
// refresh. Its View is made once: it makes the pill and a long-lived Coordinator,
// and takes each new value in update(). The coordinator always holds the latest
// value, so a press or a pick acts on current state.
template <typename Value>
struct VLDropdown
{
    // The menu entries in display order; values may repeat.
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
        explicit Coordinator(VLDropdown wrapper, QObject *owner = nullptr)
            : QObject(owner)
            , parent(std::move(wrapper))
        {}

        VLDropdown parent;

        // Builds the menu afresh from the latest value and opens it 4 px below
        // the pill, aligned with its left edge and at least as wide.
        void pressed(PulldownPill &sender)
        {
            if (m_menu)
                m_menu->deleteLater();
            m_menu = new ChoiceMenu(&sender);
            m_menu->setAttribute(Qt::WA_DeleteOnClose);
            // A click on the pill while its menu shows only closes the menu.
            m_menu->setNoReplayFor(&sender);
            const Value current = parent.selection.get();
            for (size_t i = 0; i < parent.options.size(); ++i) {
                const auto &[value, optionTitle] = parent.options[i];
                // Titles are shown as they are: an ampersand is no shortcut mark.
                QAction *item = m_menu->addAction(QString(optionTitle).replace(u'&', QLatin1String("&&")));
                item->setData(int(i));
                item->setCheckable(true);
                item->setChecked(value == current);
                QObject::connect(item, &QAction::triggered, this, [this, item] { picked(*item); });
            }
            m_menu->setMinimumWidth(sender.width());
            m_menu->popup(sender.mapToGlobal(QPoint(0, sender.height() + 4)));
        }

        // Writes the option at the item's position to the binding, and nothing
        // else: the pill shows it once the owner refreshes. An item from a menu
        // made for more options than there are now writes nothing.
        void picked(const QAction &item)
        {
            bool valid = false;
            const int tag = item.data().toInt(&valid);
            if (!valid || tag < 0 || size_t(tag) >= parent.options.size())
                return;
            // A copy: the setter may refresh the owner, which replaces `parent`
            // and with it the options.
            const Value chosen = parent.options[size_t(tag)].first;
            parent.selection.set(chosen);
        }

    private:
        QPointer<ChoiceMenu> m_menu;
    };

    class View
    {
    public:
        View(VLDropdown wrapper, QWidget *parentWidget)
            : m_pill(new PulldownPill(wrapper.title(wrapper.selection.get()), parentWidget))
            , m_coordinator(new Coordinator(std::move(wrapper), m_pill))
        {
            // The surrounding layout may stretch it.
            m_pill->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
            QObject::connect(m_pill, &QAbstractButton::clicked, m_coordinator,
                             [coordinator = m_coordinator, pill = m_pill] { coordinator->pressed(*pill); });
        }

        ~View() { delete m_pill; }
        View(const View &) = delete;
        View &operator=(const View &) = delete;

        void update(VLDropdown wrapper)
        {
            if (!m_coordinator)
                return;
            m_coordinator->parent = std::move(wrapper);
            const QString text = m_coordinator->parent.title(m_coordinator->parent.selection.get());
            if (text == m_pill->label->text())
                return;
            m_pill->label->setText(text);
            m_pill->updateGeometry();
            if (QAccessible::isActive()) {
                QAccessibleEvent renamed(m_pill, QAccessible::NameChanged);
                QAccessible::updateAccessibility(&renamed);
            }
        }

        PulldownPill *pill() const { return m_pill; }
        Coordinator *coordinator() const { return m_coordinator; }

    private:
        QPointer<PulldownPill> m_pill;
        QPointer<Coordinator> m_coordinator;
    };
};

} // namespace veilora
