#include "SystemLog.h"

#include <cstdio>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace veilora::SystemLog {

namespace {

// systemd sets JOURNAL_STREAM to "<device>:<inode>" of the stream it connected.
bool stderrIsJournal()
{
    const QByteArray stream = qgetenv("JOURNAL_STREAM");
    struct stat info
    {};
    if (stream.isEmpty() || fstat(STDERR_FILENO, &info) != 0)
        return false;
    return stream ==
           QByteArray::number(quint64(info.st_dev)) + ':' + QByteArray::number(quint64(info.st_ino));
}

} // namespace

void warning(const QString &line)
{
    const QByteArray text = line.toUtf8();
    sd_journal_print(LOG_WARNING, "%s", text.constData());
    if (!stderrIsJournal()) {
        std::fprintf(stderr, "%s\n", text.constData());
        std::fflush(stderr);
    }
}

} // namespace veilora::SystemLog
