#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace veilora {

// What the browser brings back into the application after sign-in: an address
// of any scheme with host "auth" and the query items "code" and "state" (the
// first of each counts). Anything else is not a sign-in callback.
struct SignInCallback
{
    QString code;
    QString state;

    static std::optional<SignInCallback> parse(const QUrl &url);
};

} // namespace veilora
