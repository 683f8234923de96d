#pragma once

#include "guard/FaceCamera.h"
#include "guard/GuardCamera.h"

#include <memory>

namespace veilora {

// The guard's view of the real camera sampler.
class LiveGuardCamera : public GuardCamera
{
public:
    explicit LiveGuardCamera(std::unique_ptr<FaceCamera> camera = std::make_unique<FaceCamera>());

    FaceCamera &faceCamera() const { return *m_camera; }

    void start() override { m_camera->start(); }
    void stop() override { m_camera->stop(); }
    void setSampleInterval(double seconds) override { m_camera->setSampleInterval(seconds); }
    double sampleInterval() const override { return m_camera->sampleInterval(); }
    void setPreviewing(bool on) override { m_camera->setPreviewing(on); }
    void setDevice(const QString &uniqueID) override { m_camera->setDevice(uniqueID); }
    bool usesBuiltinCamera() const override { return m_camera->usesBuiltinCamera(); }
    std::optional<QString> activeDeviceID() const override { return m_camera->activeDeviceID(); }
    std::optional<QString> preferredDeviceID() const override;
    std::vector<CameraOption> availableDevices() const override;

private:
    std::unique_ptr<FaceCamera> m_camera;
};

} // namespace veilora
