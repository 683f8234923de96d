#pragma once

#include "platform/vision/FeaturePrint.h"

#include <QString>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace veilora {

struct CameraOption
{
    QString uniqueID;
    QString localizedName;
};

// What the presence guard needs of the camera sampler. `start`, `stop` and
// `setDevice` are queued to the sampler's own thread; `onSample` and
// `onDeviceChange` are called there too and must be set before the first start.
class GuardCamera
{
public:
    virtual ~GuardCamera() = default;

    virtual void start() = 0;
    virtual void stop() = 0;

    virtual void setSampleInterval(double seconds) = 0;
    virtual double sampleInterval() const = 0;

    // On while a person watches the live picture: frames then come at the
    // camera's own rate instead of the frugal rate the guard needs.
    virtual void setPreviewing(bool on) = 0;

    virtual void setDevice(const QString &uniqueID) = 0;
    virtual bool usesBuiltinCamera() const = 0;
    virtual std::optional<QString> activeDeviceID() const = 0;
    virtual std::optional<QString> preferredDeviceID() const = 0;
    virtual std::vector<CameraOption> availableDevices() const = 0;

    std::function<void(FaceSample)> onSample;
    std::function<void()> onDeviceChange;
};

} // namespace veilora
