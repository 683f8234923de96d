#include "XdgAutostartLoginItem.h"

#include "BundleInfo.h"
#include "DesktopEntry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace veilora {

XdgAutostartLoginItem::XdgAutostartLoginItem(QString entryPath, QString program)
    : m_entryPath(std::move(entryPath))
    , m_program(std::move(program))
{}

QString XdgAutostartLoginItem::defaultEntryPath()
{
    const QString id = BundleInfo::main().identifier().value_or(QStringLiteral("veilora"));
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/") + id + QStringLiteral(".desktop");
}

bool XdgAutostartLoginItem::isRegistered() const
{
    return QFileInfo(m_entryPath).isFile();
}

std::optional<QString> XdgAutostartLoginItem::setRegistered(bool registered)
{
    if (registered)
        return writeEntry();
    if (!QFileInfo::exists(m_entryPath) && !QFileInfo(m_entryPath).isSymLink())
        return std::nullopt;
    QFile entry(m_entryPath);
    if (!entry.remove())
        return QStringLiteral("cannot remove %1: %2").arg(m_entryPath, entry.errorString());
    return std::nullopt;
}

std::optional<QString> XdgAutostartLoginItem::writeEntry() const
{
    const QString program = m_program.isEmpty() ? DesktopEntry::launchProgram() : m_program;
    const std::optional<QString> exec = DesktopEntry::execProgram(program);
    if (!exec)
        return QStringLiteral("the program path %1 cannot be written into a desktop entry").arg(program);

    const QString folder = QFileInfo(m_entryPath).absolutePath();
    if (!QDir().mkpath(folder))
        return QStringLiteral("cannot create the folder %1").arg(folder);

    // Delayed and "after the panel" so that the tray exists when the icon is shown.
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Veilora\n"
                                        "Comment=Blurs your screens while you are away from your desk\n"
                                        "Exec=%1\n"
                                        "Icon=veilora\n"
                                        "Terminal=false\n"
                                        "StartupNotify=false\n"
                                        "X-GNOME-Autostart-enabled=true\n"
                                        "X-GNOME-Autostart-Delay=2\n"
                                        "X-KDE-autostart-after=panel\n"
                                        "X-LXQt-Need-Tray=true\n")
                             .arg(*exec);
    QSaveFile file(m_entryPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit())
        return QStringLiteral("cannot write %1: %2").arg(m_entryPath, file.errorString());
    return std::nullopt;
}

} // namespace veilora
