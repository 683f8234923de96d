#include "UrlSchemeRegistration.h"

#include "DesktopEntry.h"
#include "platform/EventLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace veilora {

namespace {

// Marks an entry this class wrote, as opposed to one a package installed.
const QByteArray generatedMark = "X-Veilora-Generated=true";

std::optional<QString> writeUserEntry(const QString &path)
{
    const std::optional<QString> exec = DesktopEntry::execProgram(DesktopEntry::launchProgram());
    if (!exec)
        return QStringLiteral("the program path cannot be written into a desktop entry");
    const QByteArray text = QStringLiteral("[Desktop Entry]\n"
                                           "Type=Application\n"
                                           "Name=Veilora\n"
                                           "Exec=%1 %u\n"
                                           "Icon=veilora\n"
                                           "Terminal=false\n"
                                           "NoDisplay=true\n"
                                           "MimeType=x-scheme-handler/veilora;\n")
                                .arg(*exec)
                                .toUtf8() +
                            generatedMark + '\n';
    QFile current(path);
    if (current.open(QIODevice::ReadOnly) && current.readAll() == text)
        return std::nullopt;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return QStringLiteral("cannot create the folder of ") + path;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) < 0 || !file.commit())
        return QStringLiteral("cannot write ") + path + QStringLiteral(": ") + file.errorString();
    return std::nullopt;
}

bool isGenerated(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(generatedMark);
}

// An entry of that name in any applications folder other than the written one.
bool installedEntryExists()
{
    const QString own = UrlSchemeRegistration::userEntryPath();
    const QStringList found = QStandardPaths::locateAll(
        QStandardPaths::ApplicationsLocation, QString::fromLatin1(UrlSchemeRegistration::desktopFileName));
    for (const QString &path : found) {
        if (QFileInfo(path).absoluteFilePath() != QFileInfo(own).absoluteFilePath() || !isGenerated(path))
            return true;
    }
    return false;
}

} // namespace

QString UrlSchemeRegistration::userEntryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation) + u'/' +
           QLatin1String(desktopFileName);
}

bool UrlSchemeRegistration::isDefaultHandler()
{
    QStringList lists;
    for (const QString &dir : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        lists << dir + QStringLiteral("/mimeapps.list");
    for (const QString &dir : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation))
        lists << dir + QStringLiteral("/mimeapps.list");
    const QString key = QLatin1String(mimeType) + u'=';
    for (const QString &path : std::as_const(lists)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        bool inDefaults = false;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.startsWith(u'['))
                inDefaults = line == QLatin1String("[Default Applications]");
            else if (inDefaults && line.startsWith(key))
                return line.mid(key.size()).split(u';', Qt::SkipEmptyParts).value(0) ==
                       QLatin1String(desktopFileName);
        }
    }
    return false;
}

void UrlSchemeRegistration::ensureRegistered(std::function<void(bool)> done)
{
    (new UrlSchemeRegistration(std::move(done)))->start();
}

UrlSchemeRegistration::UrlSchemeRegistration(std::function<void(bool)> done)
    : m_done(std::move(done))
{}

void UrlSchemeRegistration::start()
{
    const QString own = userEntryPath();
    if (installedEntryExists()) {
        if (isGenerated(own))
            QFile::remove(own);
    } else if (const auto error = writeUserEntry(own)) {
        finish(false, *error);
        return;
    }
    if (isDefaultHandler())
        finish(true, QString());
    else
        setDefault();
}

void UrlSchemeRegistration::setDefault()
{
    auto *process = new QProcess(this);
    connect(process, &QProcess::finished, this, [this, process](int code, QProcess::ExitStatus status) {
        process->deleteLater();
        const bool ok = status == QProcess::NormalExit && code == 0;
        finish(ok, ok ? QStringLiteral("registered as the handler of veilora: links")
                      : QStringLiteral("xdg-mime could not register the handler: ") +
                            QString::fromLocal8Bit(process->readAllStandardError()).trimmed());
    });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        process->deleteLater();
        finish(false, QStringLiteral("xdg-mime is not available (install xdg-utils)"));
    });
    process->start(
        QStringLiteral("xdg-mime"),
        {QStringLiteral("default"), QString::fromLatin1(desktopFileName), QString::fromLatin1(mimeType)});
}

void UrlSchemeRegistration::finish(bool registered, const QString &message)
{
    if (!message.isEmpty())
        EventLog::write(QStringLiteral("url scheme: ") + message);
    if (m_done)
        m_done(registered);
    deleteLater();
}

} // namespace veilora
