#include "LiveGuardCamera.h"

namespace veilora {

LiveGuardCamera::LiveGuardCamera(std::unique_ptr<FaceCamera> camera)
    : m_camera(std::move(camera))
{
    // The guard sets its callbacks after construction; read them at call time.
    m_camera->onSample = [this](const FaceSample &sample) {
        if (onSample)
            onSample(sample);
    };
    m_camera->onDeviceChange = [this] {
        if (onDeviceChange)
            onDeviceChange();
    };
}

std::optional<QString> LiveGuardCamera::preferredDeviceID() const
{
    if (auto device = m_camera->preferredDevice())
        return device->uniqueID;
    return std::nullopt;
}

std::vector<CameraOption> LiveGuardCamera::availableDevices() const
{
    std::vector<CameraOption> options;
    for (const CameraDevice &device : m_camera->availableDevices())
        options.push_back({device.uniqueID, device.localizedName});
    return options;
}

} // namespace veilora
