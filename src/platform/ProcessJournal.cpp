#include "ProcessJournal.h"

#include <QStringList>

#include <cstring>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace veilora::ProcessJournal {

namespace {

QString failure(const QString &reason)
{
    return QStringLiteral("(oslog export failed: %1)").arg(reason);
}

QString field(sd_journal *journal, const char *name)
{
    const void *data = nullptr;
    size_t length = 0;
    if (sd_journal_get_data(journal, name, &data, &length) < 0)
        return QString();
    // The data is "NAME=value".
    const size_t prefix = std::strlen(name) + 1;
    if (length < prefix)
        return QString();
    return QString::fromUtf8(static_cast<const char *>(data) + prefix, qsizetype(length - prefix));
}

} // namespace

void write(const QString &category, const QString &message)
{
    const QByteArray text = message.toUtf8();
    const QByteArray kind = category.toUtf8();
    sd_journal_send("MESSAGE=%s", text.constData(), "PRIORITY=%i", LOG_INFO, "VEILORA_CATEGORY=%s",
                    kind.constData(), nullptr);
}

QString exportSince(const QDateTime &since, int maxLines)
{
    sd_journal *journal = nullptr;
    if (const int error = sd_journal_open(&journal, SD_JOURNAL_LOCAL_ONLY); error < 0)
        return failure(QString::fromLocal8Bit(std::strerror(-error)));
    const QByteArray match = "_PID=" + QByteArray::number(qint64(getpid()));
    int error = sd_journal_add_match(journal, match.constData(), 0);
    if (error >= 0)
        error = sd_journal_seek_realtime_usec(journal,
                                              quint64(qMax<qint64>(0, since.toMSecsSinceEpoch())) * 1000);
    if (error < 0) {
        sd_journal_close(journal);
        return failure(QString::fromLocal8Bit(std::strerror(-error)));
    }
    QStringList lines;
    while (lines.size() < maxLines && sd_journal_next(journal) > 0) {
        uint64_t usec = 0;
        sd_journal_get_realtime_usec(journal, &usec);
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(qint64(usec / 1000), Qt::UTC);
        QString category = field(journal, "VEILORA_CATEGORY");
        if (category.isEmpty())
            category = field(journal, "SYSLOG_IDENTIFIER");
        lines << QStringLiteral("%1 [%2] %3")
                     .arg(time.toString(Qt::ISODate), category, field(journal, "MESSAGE"));
    }
    sd_journal_close(journal);
    return lines.join(QLatin1Char('\n'));
}

} // namespace veilora::ProcessJournal
