#pragma once

#include <QObject>

namespace veilora {

// Tester mode as the settings sidebar's icon sees it. Main thread only.
class TesterModel : public QObject
{
    Q_OBJECT
public:
    virtual bool enabled() const = 0;
    virtual void toggle() = 0;

Q_SIGNALS:
    void changed();
};

} // namespace veilora
