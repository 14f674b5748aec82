// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/ExpirationFiles.h"
#include "engine/RegExpHandler.h"
#include "tests/support/Rows.h"
#include "tests/support/Texts.h"

#include <QDate>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <limits>

namespace
{
constexpr qlonglong firstDayOfCalendar = -784353015467;
constexpr qlonglong lastDayOfCalendar = 784351576776;

/// Only searches.
class Searcher : public RegExpHandler
{
public:
    explicit Searcher(const SettingsFile &file) : RegExpHandler(file.pattern(), file.hint())
    {
    }

    bool handleLine(QByteArray *) override
    {
        return false;
    }
};

const FileSetting *settingOf(const QString &key)
{
    for (const SettingsFile *file : {&loginDefs(), &useraddDefaults()}) {
        for (const FileSetting &setting : file->settings) {
            if (setting.key == key) {
                return &setting;
            }
        }
    }
    return nullptr;
}

QString typed(const QVariant &value)
{
    return value.isValid() ? QLatin1String(value.typeName()) + QLatin1Char(' ') + value.toString()
                           : QStringLiteral("nothing");
}

/// "name|text" of the match, or "no match".
QString found(const QRegExp &regExp, bool matched)
{
    return matched ? regExp.cap(1) + QLatin1Char('|') + regExp.cap(2) : QStringLiteral("no match");
}

QString foundByHandler(const Searcher &searcher, const QString &text)
{
    const bool matched = searcher.matches(text.toLocal8Bit());
    return found(searcher.regExp(), matched);
}

QString foundByPattern(const SettingsFile &file, const QString &text)
{
    const QRegExp regExp(file.pattern());
    return found(regExp, regExp.indexIn(text.trimmed()) != -1);
}

/// What the settings of a file are made of, and what may be mistaken for it.
QStringList pieces()
{
    // clang-format off
    return texts({"PASS_MAX_DAYS", "PASS_MIN_DAYS", "PASS_WARN_AGE", "INACTIVE", "EXPIRE", "PASS_", "x", "5", "-", "=",
                  " ", "\t", "\u0085", "\u00a0", "\u180e", "\u200b", "\u2028", "\u3000", "\u0665", "\u00b2",
                  "\U0001d7d7"}); // a digit that takes two QChars
    // clang-format on
}

/// Rows of a text and what comes of it, and of texts of which the same comes.
void addTexts(std::initializer_list<std::pair<const char *, const char *>> pairs,
              const char *common,
              std::initializer_list<const char *> others)
{
    const Rows<RowText, RowText> row("text", "expected");
    for (const auto &[text, expected] : pairs) {
        row(text, text, expected);
    }
    for (const char *text : others) {
        row(text, text, common);
    }
}

/// Arguments, and what is written for them.
using Written = std::initializer_list<std::pair<QVariant, const char *>>;

void addFileColumns()
{
    const Rows<bool> row("login");
    row("login.defs", true);
    row("useradd", false);
}

const SettingsFile &fileOfRow()
{
    QFETCH(bool, login);
    return login ? loginDefs() : useraddDefaults();
}
}

class ExpirationFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void describesFiles();
    void findsSettingsOfLoginDefs_data();
    void findsSettingsOfLoginDefs();
    void findsSettingsOfUseradd_data();
    void findsSettingsOfUseradd();
    void findsWhatThePatternFindsAroundEveryCharacter_data();
    void findsWhatThePatternFindsAroundEveryCharacter();
    void findsWhatThePatternFindsInAnyMixture_data();
    void findsWhatThePatternFindsInAnyMixture();
    void searchesLongLinesInLinearTime_data();
    void searchesLongLinesInLinearTime();
    void readsNumbers_data();
    void readsNumbers();
    void readsDates_data();
    void readsDates();
    void writes_data();
    void writes();

private:
    static void findSettings(const SettingsFile &file);
};

void ExpirationFilesTest::describesFiles()
{
    QStringList settings;
    for (const SettingsFile *file : {&loginDefs(), &useraddDefaults()}) {
        settings += file->path + QLatin1Char(' ') + file->pattern();
        for (const FileSetting &setting : file->settings) {
            settings += setting.name + file->separator + setting.key + QString::fromLatin1(setting.appendedLineEnd);
        }
    }
    // EXPIRE is added last, without a line end
    QCOMPARE(settings.join(QLatin1Char('|')),
             QStringLiteral(R"(/etc/login.defs \s*(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)\s*(-?\d+)|)"
                            "PASS_MAX_DAYS maxInterval\n|PASS_MIN_DAYS minInterval\n|PASS_WARN_AGE warningInterval\n|"
                            R"(/etc/default/useradd \s*(INACTIVE|EXPIRE)\s*=\s*(\S*)|)"
                            "INACTIVE=inactiveInterval\n|EXPIRE=expireDate"));
}

void ExpirationFilesTest::findSettings(const SettingsFile &file)
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(foundByHandler(Searcher(file), text), expected);
    QCOMPARE(foundByPattern(file, text), expected);
}

void ExpirationFilesTest::findsSettingsOfLoginDefs_data()
{
    // clang-format off
    addTexts(
        {{"PASS_MAX_DAYS\t5", "PASS_MAX_DAYS|5"},
         {"PASS_MIN_DAYS5", "PASS_MIN_DAYS|5"},
         {"PASS_WARN_AGE -1", "PASS_WARN_AGE|-1"},
         {"PASS_MAX_DAYS-5", "PASS_MAX_DAYS|-5"},
         {"PASS_MAX_DAYS 0099", "PASS_MAX_DAYS|0099"},
         {"PASS_MAX_DAYS \u0663", "PASS_MAX_DAYS|\u0663"},
         {"xPASS_MAX_DAYS5y", "PASS_MAX_DAYS|5"},
         {"set PASS_MIN_DAYS 5", "PASS_MIN_DAYS|5"},
         {"PASS_MIN_DAYS 5 PASS_MAX_DAYS 6", "PASS_MIN_DAYS|5"},
         {"PASS_MAX_DAYS PASS_MIN_DAYS 6", "PASS_MIN_DAYS|6"},
         {"PASS_MAX_DAYS 5d", "PASS_MAX_DAYS|5"}},
        "no match",
        {"PASS_MAX_DAYS --5", "PASS_MAX_DAYS - 5", "PASS_MAX_DAYS +5", "PASS_MAX_DAYS=5", "PASS_MAX_DAYS",
         "PASS_MAX_DAYS never", "PASS_MAX_DAYS x 3", "pass_max_days 5", "PASS_MAX_DAYS_OLD 5", "PASS_MIN_LEN 5",
         "INACTIVE=5"});
    // clang-format on
}

void ExpirationFilesTest::findsSettingsOfLoginDefs()
{
    findSettings(loginDefs());
}

void ExpirationFilesTest::findsSettingsOfUseradd_data()
{
    // clang-format off
    addTexts(
        {{"INACTIVE=-1", "INACTIVE|-1"},
         {"INACTIVE=", "INACTIVE|"},
         {"  INACTIVE \t= 7 8", "INACTIVE|7"},
         {"EXPIRE = 2027-01-31 trailing", "EXPIRE|2027-01-31"},
         {"INACTIVE==5", "INACTIVE|=5"},
         {"INACTIVE=EXPIRE=5", "INACTIVE|EXPIRE=5"},
         {"export EXPIRE=x", "EXPIRE|x"},
         {"REINACTIVE=5", "INACTIVE|5"}},
        "no match",
        {"INACTIVE 5", "EXPIRE", "EXPIRED=5", "expire=x", "PASS_MAX_DAYS 5"});
    // clang-format on
}

void ExpirationFilesTest::findsSettingsOfUseradd()
{
    findSettings(useraddDefaults());
}

void ExpirationFilesTest::findsWhatThePatternFindsAroundEveryCharacter_data()
{
    addFileColumns();
}

void ExpirationFilesTest::findsWhatThePatternFindsAroundEveryCharacter()
{
    const SettingsFile &file = fileOfRow();
    const Searcher searcher(file);
    const QString name = file.settings.last().name;
    const QString value = file.separator + QStringLiteral("5");
    for (uint unicode = 1; unicode <= 0xffff; ++unicode) {
        const QChar character(unicode);
        if (character.isSurrogate()) {
            continue;
        }
        const QStringList lines{character + name + value,
                                QLatin1Char('x') + character + name + value,
                                name + character + value,
                                name + file.separator + character,
                                name + value + character};
        for (const QString &text : lines) {
            QCOMPARE(foundByHandler(searcher, text), foundByPattern(file, text));
        }
    }
}

void ExpirationFilesTest::findsWhatThePatternFindsInAnyMixture_data()
{
    addFileColumns();
}

void ExpirationFilesTest::findsWhatThePatternFindsInAnyMixture()
{
    const SettingsFile &file = fileOfRow();
    const Searcher searcher(file);
    const QStringList allPieces = pieces();
    QRandomGenerator random(1970); // the same mixtures in every run
    int matches = 0;
    for (int i = 0; i < 50000; ++i) {
        QString text;
        for (int length = random.bounded(1, 12); length > 0; --length) {
            text += allPieces.at(random.bounded(allPieces.size()));
        }
        const QString expected = foundByPattern(file, text);
        QCOMPARE(foundByHandler(searcher, text), expected);
        matches += expected != QLatin1String("no match");
    }
    QVERIFY(matches > 1000);
}

void ExpirationFilesTest::searchesLongLinesInLinearTime_data()
{
    const Rows<bool, RowText, RowText, RowText, RowText> row("login", "start", "filling", "end", "expected");
    const auto login = [&row](const char *name,
                              const char *start,
                              const char *filling,
                              const char *end,
                              const RowText &expected = "no match") {
        row(name, true, start, filling, end, expected);
    };
    const auto useradd = [&row](const char *name,
                                const char *start,
                                const char *filling,
                                const char *end,
                                const char *expected = "no match") {
        row(name, false, start, filling, end, expected);
    };
    const QString digits = QStringLiteral("PASS_MAX_DAYS|") + QString(1000000, QLatin1Char('5'));
    login("blanks before a word", "PASS_MAX_DAYS", " ", "never");
    login("blanks before a lone minus", "PASS_MAX_DAYS", " ", "-");
    login("blanks before a number", "PASS_MAX_DAYS", " ", "5", "PASS_MAX_DAYS|5");
    login("blanks before the name", "x", " ", "PASS_MAX_DAYS 5", "PASS_MAX_DAYS|5");
    login("blanks before another setting", "PASS_MAX_DAYS", " ", "PASS_MIN_DAYS 5", "PASS_MIN_DAYS|5");
    login("blanks before a digit of two units", "PASS_MAX_DAYS", " ", "\U0001d7d7");
    login("blanks before a character that once was a blank", "PASS_MAX_DAYS", " ", "\u180e5");
    login("names", "", "PASS_MAX_DAYS ", "");
    login("starts of names", "", "PASS_", "");
    login("digits", "PASS_MAX_DAYS", "5", "x", digits);
    useradd("blanks before no equals sign", "INACTIVE", " ", "x");
    useradd("blanks before an equals sign", "INACTIVE", " ", "=5", "INACTIVE|5");
    useradd("blanks behind the equals sign", "INACTIVE=", " ", "5", "INACTIVE|5");
    useradd("blanks before a character that once was a blank, in useradd", "INACTIVE", " ", "\u180e=");
    useradd("names in useradd", "", "INACTIVE", "");
}

void ExpirationFilesTest::searchesLongLinesInLinearTime()
{
    QFETCH(QString, start);
    QFETCH(QString, filling);
    QFETCH(QString, end);
    QFETCH(QString, expected);
    const Searcher searcher(fileOfRow());
    // a tenth first: quadratic time shows there without keeping everybody waiting for the whole
    for (const int length : {30000, 1000000}) {
        QElapsedTimer timer;
        timer.start();
        const QString text = start + filling.repeated(length / filling.size()) + end;
        const QString result = foundByHandler(searcher, text);
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
        QVERIFY(length < 1000000 || result == expected);
    }
}

void ExpirationFilesTest::readsNumbers_data()
{
    // clang-format off
    addTexts(
        {{"5", "int 5"},
         {"-1", "int -1"},
         {"007", "int 7"},
         {"090", "int 90"},
         {"2147483647", "int 2147483647"},
         {"-2147483648", "int -2147483648"}},
        "int 0",
        {"", "0", "2147483648", "-2147483649", "99999999999999999999", "never", "30d", "2.5", "0x10", "\"30\"", "٩٠"});
    // clang-format on
}

void ExpirationFilesTest::readsNumbers()
{
    QFETCH(QString, text);
    for (const char *key : {"maxInterval", "minInterval", "warningInterval", "inactiveInterval"}) {
        QTEST(typed(settingOf(QLatin1String(key))->read(text)), "expected");
    }
}

void ExpirationFilesTest::readsDates_data()
{
    // clang-format off
    addTexts(
        {{"1970-01-01", "qlonglong 0"},
         {"1970-01-02", "qlonglong 1"},
         {"1969-12-31", "qlonglong -1"},
         {"2027-01-31", "qlonglong 20849"},
         {"2024-02-29", "qlonglong 19782"},
         {"9999-12-31", "qlonglong 2932896"},
         {"0001-01-01", "qlonglong -719162"}},
        "nothing",
        {"", "-1", "20849", "1970-02-30", "2100-02-29", "2027-13-01", "0000-01-01", "-0001-12-31", "10000-01-01",
         "27-01-31", "2027-1-31", "2027/01/31", "20270131", "31-01-2027", "2027-01-31;", "\"2027-01-31\"",
         "２０２７-０１-３１", "never"});
    // clang-format on
}

void ExpirationFilesTest::readsDates()
{
    QFETCH(QString, text);
    QTEST(typed(settingOf(QStringLiteral("expireDate"))->read(text)), "expected");
}

void ExpirationFilesTest::writes_data()
{
    const Rows<QByteArray, QVariant, RowText> row("key", "argument", "expected");
    const auto add = [&row](const QByteArray &key, Written arguments) {
        for (const auto &[argument, expected] : arguments) {
            row((key + ' ' + typed(argument).toUtf8()).constData(), key, argument, expected);
        }
    };
    for (const char *key : {"maxInterval", "minInterval", "warningInterval"}) {
        add(key,
            {{0, "0"},
             {-7, "-7"},
             {7U, "7"},
             {std::numeric_limits<int>::max(), "2147483647"},
             {std::numeric_limits<int>::min(), "-2147483648"},
             {Q_INT64_C(2147483648), "-2147483648"},
             {Q_INT64_C(3000000000), "-1294967296"},
             {true, "1"},
             {2.5, "3"},
             {QStringLiteral("007"), "7"},
             {QStringLiteral("never"), "0"},
             {QByteArray("8"), "8"},
             {QStringList{QStringLiteral("8")}, "0"},
             {QVariantMap(), "0"},
             {QDate(2027, 1, 31), "0"},
             {QVariant(), "0"}});
    }
    add("inactiveInterval",
        {{0, "0"},
         {-1, "-1"},
         {Q_INT64_C(3000000000), "3000000000"},
         {std::numeric_limits<qlonglong>::max(), "9223372036854775807"},
         {std::numeric_limits<qlonglong>::min(), "-9223372036854775808"},
         {QStringLiteral("never"), "0"}});
    add("expireDate",
        {{0, "1970-01-01"},
         {365, "1971-01-01"},
         {-1, "1969-12-31"},
         {19782, "2024-02-29"},
         {2932896, "9999-12-31"},
         {2932897, "10000-01-01"},
         {-719162, "0001-01-01"},
         {-719163, "-0001-12-31"},
         {Q_INT64_C(3000000000), "8215691-01-08"},
         {lastDayOfCalendar, "2147483647-12-31"},
         {lastDayOfCalendar + 1, ""},
         {firstDayOfCalendar, "-2147483648-01-01"},
         {firstDayOfCalendar - 1, ""},
         {std::numeric_limits<qlonglong>::max(), ""},
         {std::numeric_limits<qlonglong>::min(), ""},
         {0.5, "1970-01-02"},
         {QStringLiteral("31"), "1970-02-01"},
         {QStringLiteral("2027-01-31"), "1970-01-01"},
         {QDate(2027, 1, 31), "1970-01-01"}});
}

void ExpirationFilesTest::writes()
{
    QFETCH(QByteArray, key);
    QFETCH(QVariant, argument);
    QTEST(settingOf(QLatin1String(key))->write(argument), "expected");
}

QTEST_GUILESS_MAIN(ExpirationFilesTest)
#include "ExpirationFilesTest.moc"
