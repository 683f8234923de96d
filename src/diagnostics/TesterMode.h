#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QObject>
#include <QString>

class QTimer;

namespace veilora {

class UserDefaults;

// Lets a tester send the application's logs to the vendor with no manual steps:
// switched by a hidden gesture (eight quick clicks on the settings sidebar's
// icon); while on, uploads at start, at each switch and every 30 minutes the
// debug log's tail and the journal entries of this process since the last
// upload. No other interface and no messages: failures are silent.
// Main thread only; the upload is built and sent on a worker.
class TesterMode : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *enabledKey = "testerModeEnabled";
    static constexpr const char *lastExportKey = "testerLastExport";
    static constexpr int uploadIntervalSeconds = 1800;
    static constexpr qsizetype maxLogCharacters = 700000;
    static constexpr int maxJournalLines = 4000;

    explicit TesterMode(UserDefaults &defaults, QObject *parent = nullptr);

    static TesterMode &shared();

    bool enabled() const { return m_enabled; }
    QDateTime lastExport() const { return m_lastExport; }

    void start();
    void toggle();

    static QString appVersion();
    static QString appBuild();

    // The log text of one upload, cut to its last `maxLogCharacters` characters
    // when longer than that many UTF-8 bytes.
    static QString logText(const QString &debugTail, const QDateTime &since, const QString &journal);
    static QJsonObject payload(const QString &log);

Q_SIGNALS:
    void enabledChanged(bool enabled);

private:
    void upload();
    void scheduleTimer();

    UserDefaults &m_defaults;
    bool m_enabled = false;
    QDateTime m_lastExport;
    QTimer *m_timer = nullptr;
};

} // namespace veilora
