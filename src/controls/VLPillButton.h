#pragma once

#include "controls/PillButton.h"

#include <QPointer>
#include <QString>

#include <functional>

namespace veilora {

// A PillButton with an action. Built afresh by its owner on every refresh; the
// View, made once, keeps the button and a Coordinator holding the latest action.
struct VLPillButton
{
    QString title;
    // Read only when the button is made.
    bool filled = false;
    std::function<void()> action;

    class Coordinator : public QObject
    {
    public:
        explicit Coordinator(std::function<void()> initial, QObject *owner = nullptr);

        std::function<void()> action;
        void tapped();
    };

    class View
    {
    public:
        View(VLPillButton wrapper, QWidget *parentWidget);
        ~View();
        View(const View &) = delete;
        View &operator=(const View &) = delete;

        // Takes the title (no relayout when unchanged) and the action; a changed
        // `filled` leaves the button as it was made.
        void update(VLPillButton wrapper);

        PillButton *button() const { return m_button; }
        Coordinator *coordinator() const { return m_coordinator; }

    private:
        QPointer<PillButton> m_button;
        QPointer<Coordinator> m_coordinator;
    };
};

} // namespace veilora
