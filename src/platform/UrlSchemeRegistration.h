#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace veilora {

// Makes the desktop hand "veilora:" links (the browser's sign-in callback) to
// this application: a desktop entry declaring the scheme must exist, and it must
// be the scheme's default handler in the user's mimeapps.list.
//
// When no installed entry exists (a run from a build folder), one is written to
// $XDG_DATA_HOME/applications and kept pointing at the running program; once an
// installed entry appears, that written one is removed again. Then, unless the
// entry already is the default, `xdg-mime default` makes it so.
// Runs the helper programs without blocking; the outcome goes to the debug log.
class UrlSchemeRegistration : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *desktopFileName = "veilora.desktop";
    static constexpr const char *mimeType = "x-scheme-handler/veilora";

    // `done(registered)` runs on the main thread once the work is over.
    static void ensureRegistered(std::function<void(bool registered)> done = {});

    // The entry this class writes when none is installed.
    static QString userEntryPath();

    // Whether the mimeapps.list files, read in their order of precedence, name
    // the entry as the scheme's default.
    static bool isDefaultHandler();

private:
    explicit UrlSchemeRegistration(std::function<void(bool)> done);
    void start();
    void setDefault();
    void finish(bool registered, const QString &message);

    std::function<void(bool)> m_done;
};

} // namespace veilora
