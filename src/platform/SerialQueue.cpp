#include "SerialQueue.h"

#include <QSemaphore>
#include <QThread>
#include <QTimer>

namespace veilora {

SerialQueue::SerialQueue(const QString &label)
    : m_thread(new QThread)
    , m_context(new QObject)
{
    m_thread->setObjectName(label);
    m_context->setObjectName(label);
    m_context->moveToThread(m_thread);
    m_thread->start();
}

SerialQueue::~SerialQueue()
{
    if (isCurrent()) {
        // Destroyed by its own work (the last reference to the owner was dropped
        // there): the thread cannot wait for itself, so it winds down on its own.
        // Pending work is dropped with the context when the thread finishes.
        QObject::connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);
        m_context->deleteLater();
        m_thread->quit();
        return;
    }
    m_thread->quit();
    m_thread->wait();
    delete m_context; // also discards events still posted to it
    delete m_thread;
}

QString SerialQueue::label() const
{
    return m_thread->objectName();
}

bool SerialQueue::isCurrent() const
{
    return QThread::currentThread() == m_thread;
}

void SerialQueue::async(std::function<void()> work)
{
    QMetaObject::invokeMethod(m_context, std::move(work), Qt::QueuedConnection);
}

std::shared_ptr<WorkItem> SerialQueue::asyncAfter(std::chrono::milliseconds delay, std::function<void()> work)
{
    auto item = std::make_shared<WorkItem>();
    QObject *context = m_context;
    async([context, delay, item, work = std::move(work)]() {
        QTimer::singleShot(delay, Qt::PreciseTimer, context, [item, work]() {
            if (!item->isCancelled())
                work();
        });
    });
    return item;
}

void SerialQueue::sync(const std::function<void()> &work)
{
    if (isCurrent()) {
        work();
        return;
    }
    QSemaphore done;
    async([&]() {
        work();
        done.release();
    });
    done.acquire();
}

} // namespace veilora
