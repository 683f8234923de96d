#pragma once

#include <QDBusConnection>
#include <QObject>

namespace veilora {

// One running copy of the application per user session. The first process to
// `claim()` becomes the running instance; a later one hands its request (a URL
// to open, or "show yourself") to it and exits.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    // True when this process is the running instance from now on.
    virtual bool claim() = 0;

    // From a later process: hand over to the running instance. False (with a
    // description in `error`) when it cannot be reached.
    virtual bool sendOpenURL(const QString &url, QString *error) = 0;
    virtual bool sendActivate(QString *error) = 0;

Q_SIGNALS:
    // In the running instance, on the main thread, after the sender got its answer.
    void openURLRequested(const QString &url);
    void activateRequested();
};

// The session bus backend: the running instance owns a well-known name and
// exports OpenURL(s) and Activate() at `objectPath`. Without a session bus
// every process runs on its own and says so in the debug log.
class DBusSingleInstance : public SingleInstance
{
    Q_OBJECT
public:
    static constexpr const char *defaultServiceName = "com.norvane.Veilora";
    static constexpr const char *objectPath = "/com/norvane/Veilora";
    static constexpr const char *interfaceName = "com.norvane.Veilora.Application";
    static constexpr int callTimeoutMs = 10000;

    explicit DBusSingleInstance(QDBusConnection bus,
                                QString serviceName = QString::fromLatin1(defaultServiceName));
    ~DBusSingleInstance() override;

    bool claim() override;
    bool sendOpenURL(const QString &url, QString *error) override;
    bool sendActivate(QString *error) override;

private:
    bool call(const QString &method, const QVariantList &args, QString *error);

    QDBusConnection m_bus;
    QString m_serviceName;
    bool m_owner = false;
};

} // namespace veilora
