#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace veilora {

// The two preferences that travel between the user's computers, as settings
// sync sees them: the interface language of the application settings and the
// guard's grace delay. The application hands in the real ones. Main thread only.
class SyncedPreferences : public QObject
{
    Q_OBJECT
public:
    // None: the interface follows the system's language.
    virtual std::optional<QString> languageCode() const = 0;
    virtual void setLanguageCode(const std::optional<QString> &code) = 0;
    virtual int graceSeconds() const = 0;
    virtual void setGraceSeconds(int seconds) = 0;

Q_SIGNALS:
    // Before every change of any application setting (not of the grace delay,
    // which belongs to the guard and travels with the next upload).
    void settingsWillChange();
};

} // namespace veilora
