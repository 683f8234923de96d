#pragma once

#include "platform/CameraAuthorization.h"

#include <functional>
#include <vector>

namespace veilora {

// A stand-in whose answers the test decides; requests wait until `answer()`.
class FakeCameraAuthorization : public CameraAuthorization
{
public:
    Status status() const override { return current; }
    void requestAccess(std::function<void(bool)> completion) override
    {
        waiting.push_back(std::move(completion));
    }

    // Answers every open request, updating the status as the platform would.
    void answer(bool granted)
    {
        current = granted ? Status::authorized : Status::denied;
        auto open = std::move(waiting);
        waiting.clear();
        for (auto &completion : open)
            completion(granted);
    }

    Status current = Status::authorized;
    std::vector<std::function<void(bool)>> waiting;
};

} // namespace veilora
