#include "Commands.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("veilora-server"));
    return veilora::server::runServerCommand(QCoreApplication::arguments().mid(1));
}
