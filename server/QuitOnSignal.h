#pragma once

#include <QObject>

class QSocketNotifier;

namespace veilora::server {

// Ends the event loop on SIGTERM or SIGINT, from the loop itself rather than
// from inside the signal handler, so the database is closed properly.
class QuitOnSignal : public QObject
{
    Q_OBJECT

public:
    explicit QuitOnSignal(QObject *parent = nullptr);
    ~QuitOnSignal() override;

private:
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace veilora::server
