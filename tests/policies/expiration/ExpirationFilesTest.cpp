// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/ExpirationFiles.h"
#include "engine/RegExpHandler.h"

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
    explicit Searcher(const SettingsFile &file) : RegExpHandler(file.pattern, file.hint)
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
    const QRegExp regExp(file.pattern);
    return found(regExp, regExp.indexIn(text.trimmed()) != -1);
}

/// What the settings of a file are made of, and what may be mistaken for it.
QStringList pieces()
{
    return {QStringLiteral("PASS_MAX_DAYS"),
            QStringLiteral("PASS_MIN_DAYS"),
            QStringLiteral("PASS_WARN_AGE"),
            QStringLiteral("INACTIVE"),
            QStringLiteral("EXPIRE"),
            QStringLiteral("PASS_"),
            QStringLiteral("x"),
            QStringLiteral("5"),
            QStringLiteral("-"),
            QStringLiteral("="),
            QStringLiteral(" "),
            QStringLiteral("\t"),
            QString(QChar(0x0085)),
            QString(QChar(0x00a0)),
            QString(QChar(0x180e)),
            QString(QChar(0x200b)),
            QString(QChar(0x2028)),
            QString(QChar(0x3000)),
            QString(QChar(0x0665)),
            QString(QChar(0x00b2)),
            QString::fromUtf8("\xf0\x9d\x9f\x97")}; // a digit that takes two QChars
}

void addFileColumns()
{
    QTest::addColumn<bool>("login");
    QTest::newRow("login.defs") << true;
    QTest::newRow("useradd") << false;
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
    void describesLoginDefs();
    void describesUseraddDefaults();
    void listsSettingsInOrderOfAppending();
    void endsEveryAppendedLineButTheDate();
    void findsSettings_data();
    void findsSettings();
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
    void writesAgeingNumbersAsInt_data();
    void writesAgeingNumbersAsInt();
    void writesInactiveIntervalAsLongLong_data();
    void writesInactiveIntervalAsLongLong();
    void writesDates_data();
    void writesDates();
};

void ExpirationFilesTest::describesLoginDefs()
{
    QCOMPARE(loginDefs().path, QStringLiteral("/etc/login.defs"));
    QCOMPARE(loginDefs().pattern, QStringLiteral(R"(\s*(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)\s*(-?\d+))"));
    QCOMPARE(loginDefs().separator, QStringLiteral(" "));
}

void ExpirationFilesTest::describesUseraddDefaults()
{
    QCOMPARE(useraddDefaults().path, QStringLiteral("/etc/default/useradd"));
    QCOMPARE(useraddDefaults().pattern, QStringLiteral(R"(\s*(INACTIVE|EXPIRE)\s*=\s*(\S*))"));
    QCOMPARE(useraddDefaults().separator, QStringLiteral("="));
}

void ExpirationFilesTest::listsSettingsInOrderOfAppending()
{
    QStringList settings;
    for (const SettingsFile *file : {&loginDefs(), &useraddDefaults()}) {
        for (const FileSetting &setting : file->settings) {
            settings += setting.name + QLatin1Char(' ') + setting.key;
        }
    }
    const QStringList expected{QStringLiteral("PASS_MAX_DAYS maxInterval"),
                               QStringLiteral("PASS_MIN_DAYS minInterval"),
                               QStringLiteral("PASS_WARN_AGE warningInterval"),
                               QStringLiteral("INACTIVE inactiveInterval"),
                               QStringLiteral("EXPIRE expireDate")};
    QCOMPARE(settings, expected);
}

void ExpirationFilesTest::endsEveryAppendedLineButTheDate()
{
    for (const FileSetting &setting : loginDefs().settings) {
        QCOMPARE(setting.appendedLineEnd, QByteArray("\n"));
    }
    QCOMPARE(useraddDefaults().settings.first().appendedLineEnd, QByteArray("\n"));
    QCOMPARE(useraddDefaults().settings.last().appendedLineEnd, QByteArray());
}

void ExpirationFilesTest::findsSettings_data()
{
    QTest::addColumn<bool>("login");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("tab") << true << QStringLiteral("PASS_MAX_DAYS\t5") << QStringLiteral("PASS_MAX_DAYS|5");
    QTest::newRow("nothing between") << true << QStringLiteral("PASS_MIN_DAYS5") << QStringLiteral("PASS_MIN_DAYS|5");
    QTest::newRow("minus") << true << QStringLiteral("PASS_WARN_AGE -1") << QStringLiteral("PASS_WARN_AGE|-1");
    QTest::newRow("minus as separator") << true << QStringLiteral("PASS_MAX_DAYS-5")
                                        << QStringLiteral("PASS_MAX_DAYS|-5");
    QTest::newRow("two minuses") << true << QStringLiteral("PASS_MAX_DAYS --5") << QStringLiteral("no match");
    QTest::newRow("minus apart") << true << QStringLiteral("PASS_MAX_DAYS - 5") << QStringLiteral("no match");
    QTest::newRow("plus") << true << QStringLiteral("PASS_MAX_DAYS +5") << QStringLiteral("no match");
    QTest::newRow("equals sign") << true << QStringLiteral("PASS_MAX_DAYS=5") << QStringLiteral("no match");
    QTest::newRow("no number") << true << QStringLiteral("PASS_MAX_DAYS") << QStringLiteral("no match");
    QTest::newRow("a word") << true << QStringLiteral("PASS_MAX_DAYS never") << QStringLiteral("no match");
    QTest::newRow("small letters") << true << QStringLiteral("pass_max_days 5") << QStringLiteral("no match");
    QTest::newRow("longer name") << true << QStringLiteral("PASS_MAX_DAYS_OLD 5") << QStringLiteral("no match");
    QTest::newRow("middle of a word") << true << QStringLiteral("xPASS_MAX_DAYS5y")
                                      << QStringLiteral("PASS_MAX_DAYS|5");
    QTest::newRow("behind a word") << true << QStringLiteral("set PASS_MIN_DAYS 5")
                                   << QStringLiteral("PASS_MIN_DAYS|5");
    QTest::newRow("first of two") << true << QStringLiteral("PASS_MIN_DAYS 5 PASS_MAX_DAYS 6")
                                  << QStringLiteral("PASS_MIN_DAYS|5");
    QTest::newRow("second of two") << true << QStringLiteral("PASS_MAX_DAYS PASS_MIN_DAYS 6")
                                   << QStringLiteral("PASS_MIN_DAYS|6");
    QTest::newRow("number and letters") << true << QStringLiteral("PASS_MAX_DAYS 5d")
                                        << QStringLiteral("PASS_MAX_DAYS|5");
    QTest::newRow("other setting") << true << QStringLiteral("PASS_MIN_LEN 5") << QStringLiteral("no match");
    QTest::newRow("useradd's setting in login.defs")
        << true << QStringLiteral("INACTIVE=5") << QStringLiteral("no match");
    QTest::newRow("inactive") << false << QStringLiteral("INACTIVE=-1") << QStringLiteral("INACTIVE|-1");
    QTest::newRow("inactive without value") << false << QStringLiteral("INACTIVE=") << QStringLiteral("INACTIVE|");
    QTest::newRow("blanks") << false << QStringLiteral("EXPIRE = 2027-01-31 trailing")
                            << QStringLiteral("EXPIRE|2027-01-31");
    QTest::newRow("no equals sign") << false << QStringLiteral("INACTIVE 5") << QStringLiteral("no match");
    QTest::newRow("two equals signs") << false << QStringLiteral("INACTIVE==5") << QStringLiteral("INACTIVE|=5");
    QTest::newRow("name as a value") << false << QStringLiteral("INACTIVE=EXPIRE=5")
                                     << QStringLiteral("INACTIVE|EXPIRE=5");
    QTest::newRow("exported") << false << QStringLiteral("export EXPIRE=x") << QStringLiteral("EXPIRE|x");
    QTest::newRow("end of a longer name") << false << QStringLiteral("REINACTIVE=5") << QStringLiteral("INACTIVE|5");
    QTest::newRow("start of a longer name") << false << QStringLiteral("EXPIRED=5") << QStringLiteral("no match");
    QTest::newRow("small letters in useradd") << false << QStringLiteral("expire=x") << QStringLiteral("no match");
    QTest::newRow("login.defs' setting in useradd")
        << false << QStringLiteral("PASS_MAX_DAYS 5") << QStringLiteral("no match");
}

void ExpirationFilesTest::findsSettings()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(foundByHandler(Searcher(fileOfRow()), text), expected);
    QCOMPARE(foundByPattern(fileOfRow(), text), expected);
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
        const QStringList texts{character + name + value,
                                QLatin1Char('x') + character + name + value,
                                name + character + value,
                                name + file.separator + character,
                                name + value + character};
        for (const QString &text : texts) {
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
    QTest::addColumn<bool>("login");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("filling");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("expected");

    const QString none = QStringLiteral("no match");
    const QString blank = QStringLiteral(" ");
    const QString maxDays = QStringLiteral("PASS_MAX_DAYS");
    const QString inactive = QStringLiteral("INACTIVE");
    const QString foreignDigit = QString::fromUtf8("\xf0\x9d\x9f\x97");
    const QString foreignBlank = QString(QChar(0x180e));
    QTest::newRow("blanks before a word") << true << maxDays << blank << QStringLiteral("never") << none;
    QTest::newRow("blanks before a lone minus") << true << maxDays << blank << QStringLiteral("-") << none;
    QTest::newRow("blanks before a number")
        << true << maxDays << blank << QStringLiteral("5") << QStringLiteral("PASS_MAX_DAYS|5");
    QTest::newRow("blanks before the name") << true << QStringLiteral("x") << blank << QStringLiteral("PASS_MAX_DAYS 5")
                                            << QStringLiteral("PASS_MAX_DAYS|5");
    QTest::newRow("blanks before another setting")
        << true << maxDays << blank << QStringLiteral("PASS_MIN_DAYS 5") << QStringLiteral("PASS_MIN_DAYS|5");
    QTest::newRow("blanks before a digit of two units") << true << maxDays << blank << foreignDigit << none;
    QTest::newRow("blanks before a character that once was a blank")
        << true << maxDays << blank << (foreignBlank + QLatin1Char('5')) << none;
    QTest::newRow("names") << true << QString() << (maxDays + blank) << QString() << none;
    QTest::newRow("starts of names") << true << QString() << QStringLiteral("PASS_") << QString() << none;
    QTest::newRow("digits") << true << maxDays << QStringLiteral("5") << QStringLiteral("x")
                            << (maxDays + QLatin1Char('|') + QString(1000000, QLatin1Char('5')));
    QTest::newRow("blanks before no equals sign") << false << inactive << blank << QStringLiteral("x") << none;
    QTest::newRow("blanks before an equals sign")
        << false << inactive << blank << QStringLiteral("=5") << QStringLiteral("INACTIVE|5");
    QTest::newRow("blanks behind the equals sign")
        << false << QStringLiteral("INACTIVE=") << blank << QStringLiteral("5") << QStringLiteral("INACTIVE|5");
    QTest::newRow("blanks before a character that once was a blank, in useradd")
        << false << inactive << blank << (foreignBlank + QLatin1Char('=')) << none;
    QTest::newRow("names in useradd") << false << QString() << inactive << QString() << none;
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
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("nothing") << QString() << QStringLiteral("int 0");
    QTest::newRow("zero") << QStringLiteral("0") << QStringLiteral("int 0");
    QTest::newRow("five") << QStringLiteral("5") << QStringLiteral("int 5");
    QTest::newRow("minus one") << QStringLiteral("-1") << QStringLiteral("int -1");
    QTest::newRow("leading zeros") << QStringLiteral("007") << QStringLiteral("int 7");
    QTest::newRow("leading zero of no octal digits") << QStringLiteral("090") << QStringLiteral("int 90");
    QTest::newRow("largest") << QStringLiteral("2147483647") << QStringLiteral("int 2147483647");
    QTest::newRow("beyond largest") << QStringLiteral("2147483648") << QStringLiteral("int 0");
    QTest::newRow("smallest") << QStringLiteral("-2147483648") << QStringLiteral("int -2147483648");
    QTest::newRow("beyond smallest") << QStringLiteral("-2147483649") << QStringLiteral("int 0");
    QTest::newRow("beyond 64 bits") << QStringLiteral("99999999999999999999") << QStringLiteral("int 0");
    QTest::newRow("a word") << QStringLiteral("never") << QStringLiteral("int 0");
    QTest::newRow("number and letters") << QStringLiteral("30d") << QStringLiteral("int 0");
    QTest::newRow("fraction") << QStringLiteral("2.5") << QStringLiteral("int 0");
    QTest::newRow("hexadecimal") << QStringLiteral("0x10") << QStringLiteral("int 0");
    QTest::newRow("quoted") << QStringLiteral("\"30\"") << QStringLiteral("int 0");
    QTest::newRow("Arabic digits") << QString::fromUtf8("٩٠") << QStringLiteral("int 0");
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
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const QString nothing = QStringLiteral("nothing");
    QTest::newRow("day 0") << QStringLiteral("1970-01-01") << QStringLiteral("qlonglong 0");
    QTest::newRow("day 1") << QStringLiteral("1970-01-02") << QStringLiteral("qlonglong 1");
    QTest::newRow("day before day 0") << QStringLiteral("1969-12-31") << QStringLiteral("qlonglong -1");
    QTest::newRow("to come") << QStringLiteral("2027-01-31") << QStringLiteral("qlonglong 20849");
    QTest::newRow("leap day") << QStringLiteral("2024-02-29") << QStringLiteral("qlonglong 19782");
    QTest::newRow("last of four digits") << QStringLiteral("9999-12-31") << QStringLiteral("qlonglong 2932896");
    QTest::newRow("first of our era") << QStringLiteral("0001-01-01") << QStringLiteral("qlonglong -719162");
    QTest::newRow("empty") << QString() << nothing;
    QTest::newRow("minus one") << QStringLiteral("-1") << nothing;
    QTest::newRow("a number of days") << QStringLiteral("20849") << nothing;
    QTest::newRow("no such day") << QStringLiteral("1970-02-30") << nothing;
    QTest::newRow("no leap year") << QStringLiteral("2100-02-29") << nothing;
    QTest::newRow("no such month") << QStringLiteral("2027-13-01") << nothing;
    QTest::newRow("year zero") << QStringLiteral("0000-01-01") << nothing;
    QTest::newRow("before our era") << QStringLiteral("-0001-12-31") << nothing;
    QTest::newRow("five digits") << QStringLiteral("10000-01-01") << nothing;
    QTest::newRow("two digits") << QStringLiteral("27-01-31") << nothing;
    QTest::newRow("month of one digit") << QStringLiteral("2027-1-31") << nothing;
    QTest::newRow("slashes") << QStringLiteral("2027/01/31") << nothing;
    QTest::newRow("no dashes") << QStringLiteral("20270131") << nothing;
    QTest::newRow("day first") << QStringLiteral("31-01-2027") << nothing;
    QTest::newRow("something behind") << QStringLiteral("2027-01-31;") << nothing;
    QTest::newRow("quoted") << QStringLiteral("\"2027-01-31\"") << nothing;
    QTest::newRow("wide digits") << QString::fromUtf8("２０２７-０１-３１") << nothing;
    QTest::newRow("a word") << QStringLiteral("never") << nothing;
}

void ExpirationFilesTest::readsDates()
{
    QFETCH(QString, text);
    QTEST(typed(settingOf(QStringLiteral("expireDate"))->read(text)), "expected");
}

void ExpirationFilesTest::writesAgeingNumbersAsInt_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("expected");

    QTest::newRow("zero") << QVariant(0) << QStringLiteral("0");
    QTest::newRow("negative") << QVariant(-7) << QStringLiteral("-7");
    QTest::newRow("largest") << QVariant(std::numeric_limits<int>::max()) << QStringLiteral("2147483647");
    QTest::newRow("smallest") << QVariant(std::numeric_limits<int>::min()) << QStringLiteral("-2147483648");
    QTest::newRow("beyond largest") << QVariant(Q_INT64_C(2147483648)) << QStringLiteral("-2147483648");
    QTest::newRow("far beyond") << QVariant(Q_INT64_C(3000000000)) << QStringLiteral("-1294967296");
    QTest::newRow("leading zeros") << QVariant(QStringLiteral("007")) << QStringLiteral("7");
    QTest::newRow("a word") << QVariant(QStringLiteral("never")) << QStringLiteral("0");
}

void ExpirationFilesTest::writesAgeingNumbersAsInt()
{
    QFETCH(QVariant, argument);
    for (const char *key : {"maxInterval", "minInterval", "warningInterval"}) {
        QTEST(settingOf(QLatin1String(key))->write(argument), "expected");
    }
}

void ExpirationFilesTest::writesInactiveIntervalAsLongLong_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("expected");

    QTest::newRow("zero") << QVariant(0) << QStringLiteral("0");
    QTest::newRow("negative") << QVariant(-1) << QStringLiteral("-1");
    QTest::newRow("beyond int") << QVariant(Q_INT64_C(3000000000)) << QStringLiteral("3000000000");
    QTest::newRow("largest") << QVariant(std::numeric_limits<qlonglong>::max())
                             << QStringLiteral("9223372036854775807");
    QTest::newRow("smallest") << QVariant(std::numeric_limits<qlonglong>::min())
                              << QStringLiteral("-9223372036854775808");
    QTest::newRow("a word") << QVariant(QStringLiteral("never")) << QStringLiteral("0");
}

void ExpirationFilesTest::writesInactiveIntervalAsLongLong()
{
    QFETCH(QVariant, argument);
    QTEST(settingOf(QStringLiteral("inactiveInterval"))->write(argument), "expected");
}

void ExpirationFilesTest::writesDates_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("expected");

    QTest::newRow("day 0") << QVariant(0) << QStringLiteral("1970-01-01");
    QTest::newRow("a year") << QVariant(365) << QStringLiteral("1971-01-01");
    QTest::newRow("minus one") << QVariant(-1) << QStringLiteral("1969-12-31");
    QTest::newRow("leap day") << QVariant(19782) << QStringLiteral("2024-02-29");
    QTest::newRow("last of four digits") << QVariant(2932896) << QStringLiteral("9999-12-31");
    QTest::newRow("five digits") << QVariant(2932897) << QStringLiteral("10000-01-01");
    QTest::newRow("first of our era") << QVariant(-719162) << QStringLiteral("0001-01-01");
    QTest::newRow("before our era") << QVariant(-719163) << QStringLiteral("-0001-12-31");
    QTest::newRow("beyond int") << QVariant(Q_INT64_C(3000000000)) << QStringLiteral("8215691-01-08");
    QTest::newRow("last day") << QVariant(lastDayOfCalendar) << QStringLiteral("2147483647-12-31");
    QTest::newRow("behind the last day") << QVariant(lastDayOfCalendar + 1) << QString();
    QTest::newRow("first day") << QVariant(firstDayOfCalendar) << QStringLiteral("-2147483648-01-01");
    QTest::newRow("before the first day") << QVariant(firstDayOfCalendar - 1) << QString();
    QTest::newRow("largest number") << QVariant(std::numeric_limits<qlonglong>::max()) << QString();
    QTest::newRow("smallest number") << QVariant(std::numeric_limits<qlonglong>::min()) << QString();
    QTest::newRow("a date's text") << QVariant(QStringLiteral("2027-01-31")) << QStringLiteral("1970-01-01");
}

void ExpirationFilesTest::writesDates()
{
    QFETCH(QVariant, argument);
    QTEST(settingOf(QStringLiteral("expireDate"))->write(argument), "expected");
}

QTEST_GUILESS_MAIN(ExpirationFilesTest)
#include "ExpirationFilesTest.moc"
