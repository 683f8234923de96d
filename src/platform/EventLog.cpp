#include "EventLog.h"

#include <atomic>
#include <cstdio>

namespace veilora::EventLog {

namespace {

void standardError(const QString &message)
{
    std::fprintf(stderr, "veilora: %s\n", message.toLocal8Bit().constData());
}

std::atomic<Sink> &currentSink()
{
    static std::atomic<Sink> sink{&standardError};
    return sink;
}

} // namespace

void write(const QString &message)
{
    currentSink().load(std::memory_order_acquire)(message);
}

void setSink(Sink sink)
{
    currentSink().store(sink ? sink : &standardError, std::memory_order_release);
}

} // namespace veilora::EventLog
