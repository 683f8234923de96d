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

// A stand-in for machines without the hardware to test (a lid, display sleep).
class FakeDisplayServices : public DisplayServices
{
    Q_OBJECT
public:
    std::optional<std::vector<ActiveDisplay>> activeDisplays(int capacity) const override
    {
        if (!displays)
            return std::nullopt;
        auto list = *displays;
        if (static_cast<int>(list.size()) > capacity)
            list.resize(static_cast<size_t>(capacity));
        return list;
    }

    std::optional<std::vector<ActiveDisplay>> displays =
        std::vector<ActiveDisplay>{{QStringLiteral("eDP-1"), true, false}};
};

} // namespace veilora
