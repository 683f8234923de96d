#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace veilora::server {

struct ServeOptions
{
    QString host;
    quint16 port = 0;
    QString databaseUrl;
    QString tlsCertificate;
    QString tlsKey;
    QString feedDir;
    int codeLifetimeSeconds = 60;

    bool usesTls() const { return !tlsCertificate.isEmpty(); }
};

struct AddUserOptions
{
    QString email;
    QString databaseUrl;
};

struct ServerCommand
{
    enum class Kind
    {
        Serve,
        AddUser,
    };
    Kind kind = Kind::Serve;
    ServeOptions serve;
    AddUserOptions addUser;
};

// `arguments` without the program name.
std::optional<ServerCommand> parseServerCommand(const QStringList &arguments, QString *error);
QString serverUsage();

// Plain HTTP is only allowed where nobody else can listen in.
bool isLoopbackHost(const QString &host);

} // namespace veilora::server
