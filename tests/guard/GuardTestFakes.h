#pragma once

#include "guard/GuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "guard/ShieldPresenter.h"
#include "platform/Authenticator.h"
#include "platform/CameraAuthorization.h"
#include "platform/Clock.h"
#include "platform/display/DisplayServices.h"
#include "support/FakeCameraAuthorization.h"
#include "support/FakeDisplayServices.h"

#include <cmath>
#include <vector>

namespace veilora::test {

// A camera whose effects the test reads back; samples are fed straight to the guard.
class FakeGuardCamera : public GuardCamera
{
public:
    void start() override { ++starts, running = true; }
    void stop() override { ++stops, running = false; }
    void setSampleInterval(double seconds) override { interval = seconds; }
    double sampleInterval() const override { return interval; }
    void setPreviewing(bool on) override { previewing = on; }
    void setDevice(const QString &uniqueID) override { active = uniqueID; }
    bool usesBuiltinCamera() const override { return active == builtinID; }
    std::optional<QString> activeDeviceID() const override { return active; }
    std::optional<QString> preferredDeviceID() const override { return builtinID; }
    std::vector<CameraOption> availableDevices() const override
    {
        return {{builtinID, QStringLiteral("Integrated Camera")},
                {QStringLiteral("usb-1"), QStringLiteral("USB")}};
    }

    QString builtinID = QStringLiteral("builtin");
    QString active = builtinID;
    double interval = 0.6;
    bool previewing = false;
    bool running = false;
    int starts = 0;
    int stops = 0;
};

class FakeShield : public ShieldPresenter
{
public:
    void show() override { ++shows, up = true; }
    void hide() override { ++hides, up = false; }
    bool up = false;
    int shows = 0;
    int hides = 0;
};

class FakeAuthenticator : public Authenticator
{
public:
    bool canEvaluate(std::optional<QString> *error) override
    {
        if (!available && error)
            *error = unavailableReason;
        return available;
    }
    void evaluate(const QString &reason, Reply reply) override
    {
        reasons.push_back(reason);
        pending = std::move(reply);
    }

    bool available = true;
    std::optional<QString> unavailableReason;
    std::vector<QString> reasons;
    Reply pending;
};

// Every collaborator of a guard, faked.
struct FakeGuardParts
{
    PrivacyGuard::Collaborators collaborators(Clock *clockToUse)
    {
        return {&camera,
                &shield,
                &authenticator,
                &authorization,
                &displays,
                clockToUse,
                [this] { return unlockReason; }};
    }

    // Read each time the guard asks, as the interface language may have changed.
    QString unlockReason = QStringLiteral("clear the blur");

    FakeGuardCamera camera;
    FakeShield shield;
    FakeAuthenticator authenticator;
    FakeCameraAuthorization authorization;
    FakeDisplayServices displays;
};

// A unit print pointing `degrees` away from the first axis: the cosine distance
// between prints at a and b degrees is 1 − cos(a − b).
inline FeaturePrint printAt(double degrees)
{
    const double radians = degrees * M_PI / 180.0;
    return {QStringLiteral("test"),
            {static_cast<float>(std::cos(radians)), static_cast<float>(std::sin(radians))}};
}

} // namespace veilora::test
