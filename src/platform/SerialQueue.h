#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

class QThread;

namespace veilora {

// A unit of work scheduled for later; `cancel()` before it starts and it never runs.
class WorkItem
{
public:
    void cancel() { m_cancelled.store(true); }
    bool isCancelled() const { return m_cancelled.load(); }

private:
    std::atomic<bool> m_cancelled{false};
};

// A serial queue: one worker thread running its work one item at a time, in the
// order given. The thread runs a Qt event loop, so objects that need one (camera
// sessions, socket notifiers) can live on it through `context()`.
//
// Destroying the queue waits for the running item and drops what is still pending.
class SerialQueue
{
public:
    explicit SerialQueue(const QString &label);
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    void async(std::function<void()> work);

    // Runs `work` after `delay` unless cancelled first. Items with the same delay
    // run in the order they were scheduled.
    std::shared_ptr<WorkItem> asyncAfter(std::chrono::milliseconds delay, std::function<void()> work);

    // Runs `work` on the queue and waits for it; runs it inline when called from
    // the queue itself.
    void sync(const std::function<void()> &work);

    bool isCurrent() const;
    QObject *context() const { return m_context; }
    QString label() const;

private:
    QThread *m_thread = nullptr;
    QObject *m_context = nullptr;
};

} // namespace veilora
