#include "L10n.h"

#include "FrameworkLanguage.h"
#include "LanguageOverride.h"
#include "LocalizationTables.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>

namespace veilora {

namespace {

const QString languageCodeKey = QStringLiteral("languageCode");

std::optional<AppLanguage> known(const std::optional<QString> &code)
{
    return code ? AppLanguages::fromCode(*code) : std::nullopt;
}

} // namespace

L10n &L10n::shared()
{
    static L10n *instance = [] {
        auto *created = new L10n; // lives as long as the process; views hold it
        // Its signal is delivered on the main thread even if a worker asked first.
        if (auto *app = QCoreApplication::instance())
            created->moveToThread(app->thread());
        return created;
    }();
    return *instance;
}

QString L10n::string(const QString &key) const
{
    for (const AppLanguage language : {m_language, AppLanguage::en}) {
        const auto &table = LocalizationTables::table(language);
        if (const auto it = table.constFind(key); it != table.cend())
            return *it;
    }
    return key;
}

void L10n::bootstrap()
{
    const auto stored = UserDefaults::standard().stringValue(languageCodeKey);
    apply(stored && !stored->isEmpty() ? stored : std::nullopt);
}

void L10n::apply(const std::optional<QString> &code)
{
    // First, so that the system default below no longer sees an earlier override.
    syncSystemOverride(code);
    setLanguage(known(code).value_or(AppLanguages::systemDefault()));
}

void L10n::syncSystemOverride(const std::optional<QString> &code)
{
    if (const auto language = known(code)) {
        const QString id = AppLanguages::code(*language);
        LanguageOverride::set(id);
        FrameworkLanguage::setCode(id);
    } else {
        LanguageOverride::remove();
        FrameworkLanguage::setCode(std::nullopt);
    }
    FrameworkLanguage::installOnce();
}

void L10n::setLanguage(AppLanguage language)
{
    if (m_language == language)
        return;
    m_language = language;
    Q_EMIT languageChanged();
}

void applyLanguageOverrideAtLaunch()
{
    const auto stored = UserDefaults::standard().stringValue(languageCodeKey);
    if (stored && !stored->isEmpty())
        LanguageOverride::set(*stored);
    else
        LanguageOverride::remove();
    FrameworkLanguage::installOnce();
}

QString formatText(const QString &format, const QVariantList &args)
{
    QString out;
    out.reserve(format.size() + 16);
    qsizetype next = 0; // index of the next argument
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar c = format.at(i);
        if (c != QLatin1Char('%') || i + 1 == format.size()) {
            out += c;
            continue;
        }
        if (format.at(i + 1) == QLatin1Char('%')) {
            out += QLatin1Char('%');
            ++i;
            continue;
        }
        // %[.precision][l|ll]conversion
        qsizetype j = i + 1;
        int precision = -1;
        if (format.at(j) == QLatin1Char('.')) {
            precision = 0;
            while (++j < format.size() && format.at(j).isDigit())
                precision = precision * 10 + format.at(j).digitValue();
        }
        while (j < format.size() && format.at(j) == QLatin1Char('l'))
            ++j;
        const QChar conversion = j < format.size() ? format.at(j) : QChar();
        const bool known = QStringView(u"di@sf").contains(conversion);
        if (!known || next >= args.size()) {
            out += format.mid(i, j - i + 1); // left as written
            i = j;
            continue;
        }
        const QVariant &arg = args.at(next++);
        if (conversion == QLatin1Char('d') || conversion == QLatin1Char('i'))
            out += QString::number(arg.toLongLong());
        else if (conversion == QLatin1Char('f'))
            out += QString::number(arg.toDouble(), 'f', precision < 0 ? 6 : precision);
        else
            out += arg.toString();
        i = j;
    }
    return out;
}

} // namespace veilora
