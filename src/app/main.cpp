#include "app/DefaultsCommand.h"
#include "platform/BundleInfo.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QTextStream>

#include <cstdio>

using namespace veilora;

namespace {

QStringList plainArguments(int argc, char **argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    return args;
}

} // namespace

int main(int argc, char **argv)
{
    const QStringList args = plainArguments(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    // Commands that answer and exit need no display.
    if (args.value(0) == QLatin1String("--version")) {
        const BundleInfo &info = BundleInfo::main();
        out << "Veilora " << info.shortVersion().value_or(QStringLiteral("?")) << " (build "
            << info.buildVersion().value_or(QStringLiteral("?")) << ")\n";
        return 0;
    }
    if (args.value(0) == QLatin1String("--defaults"))
        return runDefaultsCommand(args.mid(1), UserDefaults::standard(), out, err);

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Veilora"));
    QApplication::setOrganizationName(QStringLiteral("Norvane"));
    QApplication::setDesktopFileName(QStringLiteral("veilora"));
    // A tray application: closing its last window does not end it.
    QApplication::setQuitOnLastWindowClosed(false);
    return QApplication::exec();
}
