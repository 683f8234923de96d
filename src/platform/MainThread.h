#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>
#include <QThread>

#include <memory>
#include <utility>

namespace veilora {

inline bool isMainThread()
{
    const auto *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

// Runs `work` on the main thread, later (never inline, even from the main thread),
// so the caller's state is settled before it runs. Dropped when the application
// object is gone.
template <typename F>
void runOnMain(F &&work)
{
    if (auto *app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, std::forward<F>(work), Qt::QueuedConnection);
}

// As above, holding `owner` weakly: `work(owner)` runs only if the owner still
// exists when the main thread gets to it. Call from the thread the owner lives on
// or while the owner is known to be alive; the check itself happens on the main
// thread.
template <typename T, typename F>
void runOnMain(QPointer<T> owner, F &&work)
{
    runOnMain([owner = std::move(owner), work = std::forward<F>(work)]() mutable {
        if (T *alive = owner.data())
            work(alive);
    });
}

template <typename T, typename F>
void runOnMain(std::weak_ptr<T> owner, F &&work)
{
    runOnMain([owner = std::move(owner), work = std::forward<F>(work)]() mutable {
        if (auto alive = owner.lock())
            work(alive.get());
    });
}

} // namespace veilora
