#include "FrameworkLanguage.h"

#include "SystemLanguages.h"
#include "platform/EventLog.h"
#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>
#include <QLibraryInfo>
#include <QLocale>
#include <QMutex>
#include <QPointer>
#include <QTranslator>

#include <memory>

namespace veilora::FrameworkLanguage {

namespace {

struct State
{
    QMutex lock;
    std::optional<QString> code;          // guarded by lock
    QHash<QString, QString> catalogCache; // dir|code → catalog path ("" = built-in); guarded by lock
    bool installed = false;               // guarded by lock
};

State &state()
{
    static State *shared = new State; // kept to the end: framework threads may still ask
    return *shared;
}

QString cacheKey(const QString &dir, const QString &code)
{
    return dir + QLatin1Char('|') + code;
}

QStringList fileNamesFor(const QString &candidate)
{
    QStringList names{QString(candidate).replace(QLatin1Char('-'), QLatin1Char('_'))};
    const QLocale locale(candidate);
    if (locale.language() != QLocale::C) {
        names << locale.name();
        if (locale.language() == QLocale::Chinese)
            names << QLatin1String(locale.script() == QLocale::TraditionalHanScript ? "zh_TW" : "zh_CN");
    }
    names.removeDuplicates();
    return names;
}

std::optional<QString> search(const QString &dir, const QString &code)
{
    QStringList candidates{code};
    if (code.left(2) != code)
        candidates << code.left(2);
    for (const QString &candidate : std::as_const(candidates)) {
        for (const QString &name : fileNamesFor(candidate)) {
            for (const char *catalog : {"qt_", "qtbase_"}) {
                const QString path =
                    dir + QLatin1Char('/') + QLatin1String(catalog) + name + QLatin1String(".qm");
                if (QFileInfo(path).isFile())
                    return path;
            }
        }
    }
    if (code.startsWith(QLatin1String("en")))
        return QString(); // Qt's source texts are English
    return std::nullopt;
}

// Main thread: puts the catalog for the current choice on the application.
void refresh()
{
    struct Active
    {
        QPointer<QCoreApplication> app;
        std::unique_ptr<QTranslator> translator;
        QString path; // "" = Qt's built-in English
    };
    static Active active;

    QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return;
    if (!isMainThread()) {
        runOnMain([] { refresh(); });
        return;
    }

    const auto chosen = code();
    const QStringList codes = chosen ? QStringList{*chosen} : SystemLanguages::preferredLanguages();
    QString path;
    for (const QString &candidate : codes) {
        if (const auto found = catalogFor(translationsPath(), candidate)) {
            path = *found;
            break;
        }
    }
    const bool inPlace = active.app == app && active.path == path && (active.translator || path.isEmpty());
    if (inPlace)
        return;

    if (active.translator && active.app == app)
        QCoreApplication::removeTranslator(active.translator.get());
    active = {app, nullptr, path};
    if (path.isEmpty())
        return;
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(path)) {
        EventLog::write(QStringLiteral("l10n: cannot load Qt translations %1").arg(path));
        return;
    }
    QCoreApplication::installTranslator(translator.get());
    active.translator = std::move(translator);
}

} // namespace

void setCode(const std::optional<QString> &newCode)
{
    bool installed = false;
    {
        QMutexLocker locker(&state().lock);
        state().code = newCode;
        installed = state().installed;
    }
    if (installed)
        refresh();
}

std::optional<QString> code()
{
    QMutexLocker locker(&state().lock);
    return state().code;
}

void installOnce()
{
    {
        QMutexLocker locker(&state().lock);
        if (state().installed)
            return;
        state().installed = true;
    }
    // Runs now when the application exists, else while it is being constructed.
    qAddPreRoutine(refresh);
}

QString translationsPath()
{
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
}

std::optional<QString> catalogFor(const QString &dir, const QString &code)
{
    const QString key = cacheKey(dir, code);
    {
        QMutexLocker locker(&state().lock);
        if (const auto it = state().catalogCache.constFind(key); it != state().catalogCache.cend())
            return *it;
    }
    const auto found = search(dir, code);
    if (found) {
        QMutexLocker locker(&state().lock);
        state().catalogCache.insert(key, *found);
    }
    return found;
}

bool isCached(const QString &dir, const QString &code)
{
    QMutexLocker locker(&state().lock);
    return state().catalogCache.contains(cacheKey(dir, code));
}

} // namespace veilora::FrameworkLanguage
