#pragma once

#include "controls/Binding.h"
#include "controls/CapsuleSegmentedControl.h"

#include <QPointer>
#include <QStringList>

namespace veilora {

// A row of symbol segments bound to an index. Built afresh by its owner on every
// refresh; the View, made once, keeps the control and a Coordinator holding the
// latest value. Symbols, tooltips and size are read only when the control is made.
struct VLSegmented
{
    // Symbol names (Symbols); an unknown one gives an empty segment that still counts.
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
    explicit Coordinator(VLSegmented wrapper, QObject *owner = nullptr);

    VLSegmented parent;
};

class VLSegmented::View
{
public:
    View(VLSegmented wrapper, QWidget *parentWidget);
    ~View();
    View(const View &) = delete;
    View &operator=(const View &) = delete;

    // Shows the bound selection, clamped to the segments; never writes it back.
    void update(VLSegmented wrapper);

    CapsuleSegmentedControl *control() const { return m_control; }
    Coordinator *coordinator() const { return m_coordinator; }

private:
    QPointer<CapsuleSegmentedControl> m_control;
    QPointer<Coordinator> m_coordinator;
};

} // namespace veilora
