#include "DebugLog.h"

#include "platform/BundleInfo.h"
#include "platform/EventLog.h"
#include "platform/FilePrivacy.h"
#include "platform/ProcessJournal.h"

#include <QDateTime>
#include <QFile>
#include <QMutex>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veilora {

namespace {

QMutex &logLock()
{
    static QMutex lock;
    return lock;
}

void appendLine(const QString &path, const QByteArray &line)
{
    // O_APPEND creates the file when absent (after a rotation, or the first line
    // ever) and otherwise writes at its end, even with another writer.
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    qsizetype written = 0;
    while (written < line.size()) {
        const ssize_t n = ::write(fd, line.constData() + written, size_t(line.size() - written));
        if (n <= 0)
            break;
        written += n;
    }
    ::close(fd);
}

QString readText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

} // namespace

void DebugLog::install()
{
    EventLog::setSink(&DebugLog::log);
}

QString DebugLog::directory()
{
    const QString folder = BundleInfo::main().identifier().value_or(QStringLiteral("Veilora"));
    const QString dir =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QLatin1Char('/') + folder;
    ensurePrivateDirectory(dir);
    return dir;
}

void DebugLog::log(const QString &message)
{
    // The journal keeps a copy, which a tester's upload exports with the
    // entries libraries and the system wrote for this process.
    ProcessJournal::write(QStringLiteral("debug"), message);
    const QByteArray line = (QDateTime::currentDateTimeUtc().toString(Qt::ISODate) + QLatin1Char(' ') +
                             message + QLatin1Char('\n'))
                                .toUtf8();

    QMutexLocker locker(&logLock());
    const QString dir = directory();
    const QString current = dir + QStringLiteral("/tester.log");
    const QString previous = dir + QStringLiteral("/tester.log.1");
    struct stat st
    {};
    if (::stat(QFile::encodeName(current).constData(), &st) == 0 && st.st_size > rotationBytes) {
        ::unlink(QFile::encodeName(previous).constData());
        ::rename(QFile::encodeName(current).constData(), QFile::encodeName(previous).constData());
    }
    appendLine(current, line);
}

QString DebugLog::tail()
{
    QMutexLocker locker(&logLock());
    const QString dir = directory();
    QString text =
        readText(dir + QStringLiteral("/tester.log.1")) + readText(dir + QStringLiteral("/tester.log"));
    if (text.size() <= tailCharacters)
        return text;
    qsizetype start = text.size() - tailCharacters;
    // Never begin with half of a surrogate pair.
    if (text.at(start).isLowSurrogate())
        ++start;
    return text.mid(start);
}

} // namespace veilora
