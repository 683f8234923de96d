#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <vector>

namespace veilora {

struct ActiveDisplay
{
    QString name;
    bool builtin = false; // the panel of a laptop (eDP, LVDS, DSI connectors)
    bool asleep = false;  // powered down by display power management
};

// What the presence guard needs to know about the displays: which are active,
// when their arrangement changes, and when they go to sleep and wake.
//
// Signals may be emitted on any thread.
class DisplayServices : public QObject
{
    Q_OBJECT
public:
    // At most `capacity` active displays; no value when the list cannot be read.
    virtual std::optional<std::vector<ActiveDisplay>> activeDisplays(int capacity) const = 0;

Q_SIGNALS:
    // One raw event of a reconfiguration; bursts are common.
    void reconfigured();
    void screensDidSleep();
    void screensDidWake();
};

} // namespace veilora
