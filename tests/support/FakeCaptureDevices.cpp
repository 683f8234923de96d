#include "FakeCaptureDevices.h"

#include <QPointer>
#include <QThread>

#include <algorithm>

namespace veilora {

struct FakeCaptureDevices::Channel
{
    QMutex mutex;
    QPointer<QObject> context; // lives on the source's thread
    CaptureSource *source = nullptr;
    bool running = false;
    bool connected = true;
    std::vector<double> requestedRates;
    int framesRead = 0;
};

namespace {

class FakeCaptureSource : public CaptureSource
{
public:
    FakeCaptureSource(CameraDevice device, FakeCaptureDevices::Behaviour behaviour,
                      std::shared_ptr<FakeCaptureDevices::Channel> channel)
        : m_device(std::move(device))
        , m_behaviour(std::move(behaviour))
        , m_channel(std::move(channel))
    {
        QMutexLocker lock(&m_channel->mutex);
        m_channel->context = &m_context;
        m_channel->source = this;
    }

    ~FakeCaptureSource() override
    {
        QMutexLocker lock(&m_channel->mutex);
        m_channel->source = nullptr;
        m_channel->running = false;
    }

    CameraDevice device() const override { return m_device; }
    std::vector<FrameRateRange> frameRateRanges() const override { return m_behaviour.frameRates; }

    bool setFrameRate(double fps, QString *error) override
    {
        QMutexLocker lock(&m_channel->mutex);
        m_channel->requestedRates.push_back(fps);
        if (!m_behaviour.frameRateRefusal.isEmpty()) {
            *error = m_behaviour.frameRateRefusal;
            return false;
        }
        return true;
    }

    void start() override { setRunning(true); }
    void stop() override { setRunning(false); }

    bool isRunning() const override
    {
        QMutexLocker lock(&m_channel->mutex);
        return m_channel->running;
    }

    bool isConnected() const override
    {
        QMutexLocker lock(&m_channel->mutex);
        return m_channel->connected;
    }

private:
    void setRunning(bool running)
    {
        QMutexLocker lock(&m_channel->mutex);
        m_channel->running = running && m_channel->connected;
    }

    const CameraDevice m_device;
    const FakeCaptureDevices::Behaviour m_behaviour;
    const std::shared_ptr<FakeCaptureDevices::Channel> m_channel;
    QObject m_context;
};

} // namespace

FakeCaptureDevices::FakeCaptureDevices() = default;

FakeCaptureDevices::FakeCaptureDevices(std::vector<CameraDevice> devices)
    : m_devices(std::move(devices))
{}

FakeCaptureDevices::~FakeCaptureDevices() = default;

std::vector<CameraDevice> FakeCaptureDevices::devices() const
{
    QMutexLocker lock(&m_mutex);
    return m_devices;
}

std::unique_ptr<CaptureSource> FakeCaptureDevices::open(const CameraDevice &device)
{
    QMutexLocker lock(&m_mutex);
    const bool present = std::any_of(m_devices.begin(), m_devices.end(),
                                     [&](const CameraDevice &d) { return d.uniqueID == device.uniqueID; });
    const Behaviour behaviour = m_behaviour[device.uniqueID];
    if (!present || !behaviour.opens)
        return nullptr;
    ++m_opens[device.uniqueID];
    auto shared = std::make_shared<Channel>();
    m_channels[device.uniqueID] = shared;
    return std::make_unique<FakeCaptureSource>(device, behaviour, shared);
}

void FakeCaptureDevices::setBehaviour(const QString &uniqueID, Behaviour behaviour)
{
    QMutexLocker lock(&m_mutex);
    m_behaviour[uniqueID] = std::move(behaviour);
}

void FakeCaptureDevices::plug(const CameraDevice &device)
{
    {
        QMutexLocker lock(&m_mutex);
        m_devices.push_back(device);
    }
    Q_EMIT deviceConnected(device.uniqueID);
}

void FakeCaptureDevices::unplug(const QString &uniqueID)
{
    {
        QMutexLocker lock(&m_mutex);
        std::erase_if(m_devices, [&](const CameraDevice &d) { return d.uniqueID == uniqueID; });
    }
    if (auto shared = channel(uniqueID)) {
        QMutexLocker lock(&shared->mutex);
        shared->connected = false;
        shared->running = false;
    }
    Q_EMIT deviceDisconnected(uniqueID);
}

std::shared_ptr<FakeCaptureDevices::Channel> FakeCaptureDevices::channel(const QString &uniqueID) const
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_channels.find(uniqueID);
    return it == m_channels.end() ? nullptr : it->second.lock();
}

bool FakeCaptureDevices::deliver(const QString &uniqueID, const VideoFrame &frame)
{
    const auto shared = channel(uniqueID);
    if (!shared)
        return false;
    QPointer<QObject> context;
    {
        QMutexLocker lock(&shared->mutex);
        context = shared->context;
    }
    if (!context)
        return false;
    bool delivered = false;
    auto handOver = [&]() {
        CaptureSource *source = nullptr;
        {
            QMutexLocker lock(&shared->mutex);
            if (shared->running)
                source = shared->source;
        }
        // The source can only go away on this thread, so it stays valid here.
        if (!source)
            return;
        delivered = true;
        if (source->wantsFrame && !source->wantsFrame())
            return;
        {
            QMutexLocker lock(&shared->mutex);
            ++shared->framesRead;
        }
        if (source->onFrame)
            source->onFrame(frame);
    };
    QMetaObject::invokeMethod(context, handOver,
                              context->thread() == QThread::currentThread() ? Qt::DirectConnection
                                                                            : Qt::BlockingQueuedConnection);
    return delivered;
}

int FakeCaptureDevices::openCount(const QString &uniqueID) const
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_opens.find(uniqueID);
    return it == m_opens.end() ? 0 : it->second;
}

bool FakeCaptureDevices::isStreaming(const QString &uniqueID) const
{
    const auto shared = channel(uniqueID);
    if (!shared)
        return false;
    QMutexLocker lock(&shared->mutex);
    return shared->running;
}

std::vector<double> FakeCaptureDevices::requestedFrameRates(const QString &uniqueID) const
{
    const auto shared = channel(uniqueID);
    if (!shared)
        return {};
    QMutexLocker lock(&shared->mutex);
    return shared->requestedRates;
}

int FakeCaptureDevices::framesRead(const QString &uniqueID) const
{
    const auto shared = channel(uniqueID);
    if (!shared)
        return 0;
    QMutexLocker lock(&shared->mutex);
    return shared->framesRead;
}

} // namespace veilora
