#pragma once

// Small helpers shared by the benchmarks: timing, CPU time, percentiles, the
// set-up's media and the guard's parts nobody is asked about in a run.

#include "platform/Authenticator.h"
#include "platform/CameraAuthorization.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

namespace veilora::bench {

inline double processCpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

inline double wallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Figures
{
    double median = 0;
    double p95 = 0;
};

inline Figures figures(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) {
        return values[std::min(values.size() - 1, size_t(q * double(values.size())))];
    };
    return {at(0.5), at(0.95)};
}

// A file of the media that scripts/setup.sh fetched.
inline QString media(const QString &name)
{
    return QStringLiteral(VEILORA_ASSETS_DIR "/media/") + name;
}

// Nobody asks to unlock during a run, and the camera is granted.
class NoAuthenticator : public Authenticator
{
public:
    bool canEvaluate(std::optional<QString> *) override { return false; }
    void evaluate(const QString &, Reply reply) override { reply(false, std::nullopt); }
};

class GrantedCamera : public CameraAuthorization
{
public:
    Status status() const override { return Status::authorized; }
    void requestAccess(std::function<void(bool)> completion) override { completion(true); }
};

} // namespace veilora::bench
