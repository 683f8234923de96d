#include "localization/FrameworkLanguage.h"
#include "localization/L10n.h"
#include "localization/LanguageOverride.h"
#include "localization/LocalizationTables.h"
#include "localization/SystemLanguages.h"
#include "platform/UserDefaults.h"

#include <QDialogButtonBox>
#include <QDirIterator>
#include <QFile>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace veilora;
using namespace Qt::Literals::StringLiterals;

namespace {

QStringList placeholders(const QString &text)
{
    QStringList found;
    for (const auto &match : QRegularExpression(QStringLiteral("%[d@]")).globalMatch(text))
        found << match.captured();
    return found;
}

const QString appleLanguages = QLatin1String(LanguageOverride::key);

} // namespace

TEST(AppLanguageTest, SystemDefaultFollowsThePrefixRules)
{
    const std::vector<std::pair<QStringList, AppLanguage>> cases = {
        {{"sv-SE", "fr-CA", "de-DE"}, AppLanguage::fr},
        {{"sv-SE"}, AppLanguage::en},
        {{}, AppLanguage::en},
        {{"zh-TW"}, AppLanguage::zhHant},
        {{"zh-HK"}, AppLanguage::zhHant},
        {{"zh-Hant-CN"}, AppLanguage::zhHant},
        {{"zh-Hans-MO"}, AppLanguage::zhHant},
        {{"zh-Hans-CN"}, AppLanguage::zhHans},
        {{"zh-CN"}, AppLanguage::zhHans},
        {{"zh"}, AppLanguage::zhHans},
        {{"pt-PT"}, AppLanguage::ptBR},
        {{"pt"}, AppLanguage::ptBR},
        {{"es-419"}, AppLanguage::es},
        {{"EN-gb", "de"}, AppLanguage::en},
    };
    for (const auto &[preferred, expected] : cases)
        EXPECT_EQ(AppLanguages::fromPreferredLanguages(preferred), expected)
            << preferred.join(u',').toStdString();
    EXPECT_EQ(AppLanguages::fromCode(QStringLiteral("pt-BR")), AppLanguage::ptBR);
    EXPECT_EQ(AppLanguages::fromCode(QStringLiteral("pt")), std::nullopt);
}

TEST(SystemLanguagesTest, ReadsLanguageThenTheMessagesLocaleThenQt)
{
    SystemLanguages::Sources sources{QStringLiteral("pt_BR:pt::en"),
                                     {},
                                     QStringLiteral("sv_SE.UTF-8@euro"),
                                     QStringLiteral("fr_FR.UTF-8"),
                                     {QStringLiteral("de-DE"), QStringLiteral("EN")}};
    EXPECT_EQ(SystemLanguages::fromSources(sources), QStringList({"pt-BR", "pt", "en", "sv-SE", "de-DE"}));

    // LC_ALL shadows the rest, and C/POSIX name no language.
    sources = {{}, QStringLiteral("C.UTF-8"), QStringLiteral("de_DE"), {}, {QStringLiteral("C")}};
    EXPECT_TRUE(SystemLanguages::fromSources(sources).isEmpty());
    sources = {{}, {}, {}, QStringLiteral("POSIX"), {QStringLiteral("ja_JP")}};
    EXPECT_EQ(SystemLanguages::fromSources(sources), QStringList{"ja-JP"});
}

class L10nTest : public ::testing::Test
{
protected:
    void SetUp() override { qputenv("LANGUAGE", "fr_CA:de"); }
    void TearDown() override { L10n::shared().apply(std::nullopt); }
    UserDefaults &defaults = UserDefaults::standard();
};

TEST_F(L10nTest, ApplyStoresTheOverrideOnlyForAKnownLanguage)
{
    L10n &l10n = L10n::shared();
    QSignalSpy changed(&l10n, &L10n::languageChanged);

    l10n.apply(QStringLiteral("pt-BR"));
    EXPECT_EQ(l10n.language(), AppLanguage::ptBR);
    EXPECT_EQ(defaults.stringListValue(appleLanguages), QStringList{"pt-BR"});
    EXPECT_EQ(FrameworkLanguage::code(), QStringLiteral("pt-BR"));
    EXPECT_EQ(changed.count(), 1);

    for (const std::optional<QString> &code :
         {std::optional<QString>(), std::optional<QString>(u""_s), std::optional<QString>(u"xx-YY"_s)}) {
        l10n.apply(QStringLiteral("ja"));
        l10n.apply(code);
        EXPECT_EQ(l10n.language(), AppLanguage::fr) << "the system's list, read from LANGUAGE";
        EXPECT_FALSE(defaults.contains(appleLanguages));
        EXPECT_EQ(FrameworkLanguage::code(), std::nullopt);
    }
}

TEST_F(L10nTest, BootstrapAndLaunchReadTheStoredChoice)
{
    defaults.setString(QStringLiteral("languageCode"), QStringLiteral("ko"));
    applyLanguageOverrideAtLaunch();
    EXPECT_EQ(defaults.stringListValue(appleLanguages), QStringList{"ko"});
    EXPECT_EQ(AppLanguages::systemDefault(), AppLanguage::ko)
        << "the override stands in for the system's list";
    L10n::shared().bootstrap();
    EXPECT_EQ(L10n::shared().language(), AppLanguage::ko);
    EXPECT_EQ(formatText(L10n::shared().string(QStringLiteral("pg.graceFmtSec")), {30}),
              QStringLiteral("30초"));

    defaults.setString(QStringLiteral("languageCode"), QString());
    applyLanguageOverrideAtLaunch();
    EXPECT_FALSE(defaults.contains(appleLanguages));
    L10n::shared().bootstrap();
    EXPECT_EQ(L10n::shared().language(), AppLanguage::fr);
}

TEST_F(L10nTest, LookupFallsBackToTheKey)
{
    L10n::shared().apply(QStringLiteral("de"));
    EXPECT_EQ(L10n::shared().string(QStringLiteral("ov.unlock")), QStringLiteral("Entsperren"));
    EXPECT_EQ(formatText(L10n::shared().string(QStringLiteral("pg.graceFmtSec")), {30}),
              QStringLiteral("30 Sek."));
    EXPECT_EQ(L10n::shared().string(QStringLiteral("no.suchKey")), QStringLiteral("no.suchKey"));
}

TEST(FormatTextTest, IsPrintfLikeAndLocaleIndependent)
{
    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(formatText(QStringLiteral("%d sec"), {30}), QStringLiteral("30 sec"));
    EXPECT_EQ(formatText(QStringLiteral("Version %@ (%ld)"), {QStringLiteral("1.2"), 1234567}),
              QStringLiteral("Version 1.2 (1234567)"));
    EXPECT_EQ(formatText(QStringLiteral("%.3f%% %f"), {0.5, 2}), QStringLiteral("0.500% 2.000000"));
    EXPECT_EQ(formatText(QStringLiteral("%d of %d, %q"), {1}), QStringLiteral("1 of %d, %q"));
    EXPECT_EQ(formatText(QStringLiteral("100%"), {}), QStringLiteral("100%"));
    QLocale::setDefault(QLocale::c());
}

TEST(LocalizationTablesTest, EveryTableMatchesEnglish)
{
    // Texts that read the same in English and the language: brand, units, loanwords.
    const QStringList sameAsEnglish = {"OK",      "Version %@", "%d min", "%d sec",        "General",
                                       "Account", "Camera",     "Later",  "© 2026 Norvane"};
    const auto english = LocalizationTables::entries(AppLanguage::en);
    QSet<QString> keys;
    for (const TableEntry &entry : english)
        keys.insert(QString::fromLatin1(entry.key));
    EXPECT_EQ(keys.size(), qsizetype(english.size())) << "a key is listed twice";

    for (const AppLanguage language : AppLanguages::allCases()) {
        const auto entries = LocalizationTables::entries(language);
        const std::string name = AppLanguages::code(language).toStdString();
        ASSERT_EQ(entries.size(), english.size()) << name;
        EXPECT_EQ(LocalizationTables::table(language).size(), qsizetype(english.size())) << name;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const QString key = QString::fromLatin1(english[i].key);
            const QString en = QString::fromUtf8(english[i].text);
            const QString text = QString::fromUtf8(entries[i].text);
            const std::string where = name + " " + key.toStdString();
            ASSERT_EQ(QString::fromLatin1(entries[i].key), key) << where;
            EXPECT_FALSE(text.trimmed().isEmpty()) << where;
            EXPECT_EQ(placeholders(text), placeholders(en)) << where;
            EXPECT_EQ(text.count(u"Veilora"), en.count(u"Veilora")) << where;
            if (language != AppLanguage::en && text == en) {
                EXPECT_TRUE(sameAsEnglish.contains(text)) << where << " is still English";
            }
        }
        EXPECT_EQ(LocalizationTables::table(language).value(u"about.copyright"_s), u"© 2026 Norvane"_s);
    }
    EXPECT_EQ(LocalizationTables::table(AppLanguage::zhHant).value(u"pg.graceFmtMin"_s), u"%d 分鐘"_s);
    EXPECT_EQ(LocalizationTables::table(AppLanguage::tr).value(u"ov.unlock"_s), u"Kilidi Aç"_s);
}

TEST(LocalizationTablesTest, NoTextNamesAnotherPlatform)
{
    // "Mac" as a word, also inflected (Polish "Macu", "Macach"; Turkish "Mac’te") and
    // written against CJK text, but not inside a longer word such as German "Macht".
    static const QRegularExpression mac(
        QStringLiteral(R"re((?<!\p{Latin})Mac(?:s|a|u|ach|ami|iem|ów)?(?!\p{Latin}))re"));
    // That platform's fingerprint reader and its settings app, by the names the
    // languages give them.
    static const QRegularExpression names(
        QStringLiteral("macOS|Touch ID|触控 ID|觸控 ID|System Settings|Systemeinstellungen|"
                       "Réglages Système|Ajustes del Sistema|Ajustes do Sistema|"
                       "Impostazioni di Sistema|Systeeminstellingen|Ustawieni\\w* systemow|"
                       "Системные настройки|Sistem Ayarları|システム設定|시스템 설정|系统设置|系統設定"),
        QRegularExpression::CaseInsensitiveOption);
    for (const AppLanguage language : AppLanguages::allCases()) {
        for (const TableEntry &entry : LocalizationTables::entries(language)) {
            const QString text = QString::fromUtf8(entry.text);
            const std::string where = AppLanguages::code(language).toStdString() + " " + entry.key;
            EXPECT_FALSE(text.contains(mac)) << where << ": " << text.toStdString();
            EXPECT_FALSE(text.contains(names)) << where << ": " << text.toStdString();
        }
    }
}

TEST(LocalizationTablesTest, EveryKeyTheSourcesAskForIsInEnglish)
{
    // Every literal shaped like a key counts, whichever helper passes it on; file
    // names such as "settings.json" do not.
    static const QRegularExpression literal(QStringLiteral(
        R"re("((?:menu|settings|tab|sub|common|acct|gen|perm|pg|ov|about|onb)\.[A-Za-z_]+)")re"));
    static const QRegularExpression fileName(
        QStringLiteral(R"re(\.(json|ini|conf|dat|log|txt|qm|png|svg|desktop)$)re"));
    const auto &english = LocalizationTables::table(AppLanguage::en);
    int files = 0;
    QDirIterator it(QStringLiteral(VEILORA_SOURCE_DIR), {"*.cpp", "*.h"}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.contains(u"/localization/tables/"))
            continue;
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        ++files;
        for (const auto &match : literal.globalMatch(QString::fromUtf8(file.readAll()))) {
            if (!match.captured(1).contains(fileName)) {
                EXPECT_TRUE(english.contains(match.captured(1)))
                    << match.captured(1).toStdString() << " in " << path.toStdString();
            }
        }
    }
    EXPECT_GT(files, 10);
}

TEST(FrameworkLanguageTest, ResolvesCatalogsByTheCandidateRule)
{
    QTemporaryDir dir;
    for (const char *name : {"qt_pt.qm", "qtbase_zh_TW.qm"}) {
        QFile file(dir.filePath(QLatin1String(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(FrameworkLanguage::catalogFor(dir.path(), u"pt-BR"_s), dir.filePath(u"qt_pt.qm"_s));
    EXPECT_EQ(FrameworkLanguage::catalogFor(dir.path(), u"zh-Hant"_s), dir.filePath(u"qtbase_zh_TW.qm"_s));
    EXPECT_EQ(FrameworkLanguage::catalogFor(dir.path(), u"en-GB"_s), QString()) << "Qt's built-in English";
    EXPECT_TRUE(FrameworkLanguage::isCached(dir.path(), u"pt-BR"_s));
    EXPECT_EQ(FrameworkLanguage::catalogFor(dir.path(), u"ko"_s), std::nullopt);
    EXPECT_FALSE(FrameworkLanguage::isCached(dir.path(), u"ko"_s));
}

TEST_F(L10nTest, QtsOwnTextsFollowTheChoice)
{
    const auto cancelText = [] {
        QDialogButtonBox box(QDialogButtonBox::Cancel);
        return box.button(QDialogButtonBox::Cancel)->text().remove(u'&');
    };
    L10n::shared().apply(QStringLiteral("de"));
    EXPECT_EQ(cancelText(), QStringLiteral("Abbrechen"));
    L10n::shared().apply(QStringLiteral("en"));
    EXPECT_EQ(cancelText(), QStringLiteral("Cancel"));
    L10n::shared().apply(std::nullopt); // the system: LANGUAGE=fr_CA:de
    EXPECT_EQ(cancelText(), QStringLiteral("Annuler"));
}
