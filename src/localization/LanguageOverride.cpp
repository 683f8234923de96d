#include "LanguageOverride.h"

#include "platform/UserDefaults.h"

namespace veilora::LanguageOverride {

QStringList current()
{
    return UserDefaults::standard().stringListValue(QLatin1String(key)).value_or(QStringList());
}

void set(const QString &code)
{
    UserDefaults::standard().setStringList(QLatin1String(key), {code});
}

void remove()
{
    UserDefaults::standard().remove(QLatin1String(key));
}

} // namespace veilora::LanguageOverride
