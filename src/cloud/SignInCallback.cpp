#include "SignInCallback.h"

#include <QUrlQuery>

namespace veilora {

std::optional<SignInCallback> SignInCallback::parse(const QUrl &url)
{
    if (!url.isValid() || url.host() != QLatin1String("auth"))
        return std::nullopt;
    const QUrlQuery query(url);
    const QStringList codes = query.allQueryItemValues(QStringLiteral("code"), QUrl::FullyDecoded);
    const QStringList states = query.allQueryItemValues(QStringLiteral("state"), QUrl::FullyDecoded);
    if (codes.isEmpty() || states.isEmpty())
        return std::nullopt;
    return SignInCallback{codes.first(), states.first()};
}

} // namespace veilora
