// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/RegExpHandler.h"

#include "tests/support/ScopedLatin1.h"
#include "tests/support/VirtualSlot.h"

#include <QTest>

#include <initializer_list>
#include <memory>
#include <type_traits>

namespace
{
class Handler : public RegExpHandler
{
public:
    explicit Handler(const QString &pattern, const SearchHint &hint = SearchHint(), bool *destroyed = nullptr)
        : RegExpHandler(pattern, hint), m_destroyed(destroyed)
    {
    }
    ~Handler() override
    {
        if (m_destroyed) {
            *m_destroyed = true;
        }
    }

    bool handleLine(QByteArray *line) override
    {
        Q_UNUSED(line)
        return true;
    }

private:
    Q_DISABLE_COPY_MOVE(Handler)

    bool *m_destroyed;
};

static_assert(std::is_abstract_v<RegExpHandler>);
static_assert(!std::is_copy_constructible_v<RegExpHandler> && !std::is_copy_assignable_v<RegExpHandler>);
static_assert(std::is_same_v<decltype(std::declval<const RegExpHandler &>().regExp()), const QRegExp &>);

QStringList texts(std::initializer_list<const char *> utf8)
{
    QStringList texts;
    for (const char *text : utf8) {
        texts += QString::fromUtf8(text);
    }
    return texts;
}

QString number()
{
    return QStringLiteral("KEY\\s*(\\d+)");
}
}

class RegExpHandlerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isDeletedThroughItsBase();
    void keepsTheOrderOfItsVirtualFunctions();
    void buildsTheExpressionFromThePattern();
    void appendsNothingByDefault();
    void searchesTheText_data();
    void searchesTheText();
    void readsBytesOfTheLocale();
    void startsWhereTheHintSays_data();
    void startsWhereTheHintSays();
    void forgetsTheLineBefore();
};

void RegExpHandlerTest::isDeletedThroughItsBase()
{
    bool destroyed = false;
    std::unique_ptr<RegExpHandler> handler = std::make_unique<Handler>(number(), SearchHint(), &destroyed);
    QVERIFY(!destroyed);
    handler.reset();
    QVERIFY(destroyed);
}

void RegExpHandlerTest::keepsTheOrderOfItsVirtualFunctions()
{
    // two for the destructor, which comes first
    const std::ptrdiff_t slot = sizeof(void *);
    QCOMPARE(virtualSlotOf(&RegExpHandler::appendLines) - virtualSlotOf(&RegExpHandler::handleLine), slot);
    QCOMPARE(virtualSlotOf(&RegExpHandler::handleLine) & ~(slot - 1), 2 * slot);
}

void RegExpHandlerTest::buildsTheExpressionFromThePattern()
{
    const Handler handler(QStringLiteral("(a\\s*)+b"));
    QCOMPARE(handler.regExp().pattern(), QStringLiteral("(a\\s*)+b"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QCOMPARE(handler.regExp().isMinimal(), false);
    QCOMPARE(&handler.regExp(), &handler.regExp());
}

void RegExpHandlerTest::appendsNothingByDefault()
{
    Handler handler(number());
    QByteArray tail("kept");
    QCOMPARE(handler.appendLines(&tail), false);
    QCOMPARE(tail, QByteArray("kept"));
}

void RegExpHandlerTest::searchesTheText_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("matches");
    QTest::addColumn<QStringList>("captures");

    QTest::newRow("whole text") << "KEY (\\d+)" << QByteArray("KEY 5") << true << texts({"KEY 5", "5"});
    QTest::newRow("inside other text") << "KEY (\\d+)" << QByteArray("xKEY 57y") << true << texts({"KEY 57", "57"});
    QTest::newRow("leftmost") << "KEY (\\d)" << QByteArray("KEY 1 KEY 2") << true << texts({"KEY 1", "1"});
    QTest::newRow("longest") << "(a|ab)" << QByteArray("ab") << true << texts({"ab", "ab"});
    QTest::newRow("not there") << "KEY" << QByteArray("KEX") << false << texts({""});
    QTest::newRow("other case") << "KEY" << QByteArray("key") << false << texts({""});
    QTest::newRow("trimmed in front") << "^KEY" << QByteArray(" \t\v\fKEY") << true << texts({"KEY"});
    QTest::newRow("trimmed behind") << "KEY$" << QByteArray("KEY \t\r\n") << true << texts({"KEY"});
    QTest::newRow("trimmed before the search") << "\\s*KEY\\s*" << QByteArray(" KEY ") << true << texts({"KEY"});
    QTest::newRow("unicode blanks trimmed") << "^KEY$" << QByteArray("\u00a0\u2003KEY\u3000") << true << texts({"KEY"});
    QTest::newRow("caret only at the start") << "^b" << QByteArray("ab") << false << texts({""});
    QTest::newRow("empty text") << "x*" << QByteArray("") << false << texts({});
    QTest::newRow("null text") << "x*" << QByteArray() << false << texts({});
    QTest::newRow("only blanks") << "\\s*" << QByteArray(" \t \r\n") << false << texts({});
    QTest::newRow("only unicode blanks") << "\\s*" << QByteArray("\u00a0\u2028") << false << texts({});
    QTest::newRow("empty match") << "x*" << QByteArray("a") << true << texts({""});
    QTest::newRow("UTF-8") << "(\u00fc)\\s*(.)$" << QByteArray("\u00fc\u20ac") << true
                           << texts({"\u00fc\u20ac", "\u00fc", "\u20ac"});
    QTest::newRow("no valid UTF-8") << "^(.)KEY(.)$"
                                    << QByteArray("\xff"
                                                  "KEY\xc3")
                                    << true << texts({"\ufffdKEY\ufffd", "\ufffd", "\ufffd"});
    QTest::newRow("up to a NUL byte") << "KEY(.*)" << QByteArray("KEY 1\0 2", 8) << true << texts({"KEY 1", " 1"});
    QTest::newRow("behind a NUL byte") << "KEY" << QByteArray("a\0KEY", 5) << false << texts({""});
    QTest::newRow("NUL byte first") << "\\s*" << QByteArray("\0KEY", 4) << false << texts({});
}

void RegExpHandlerTest::searchesTheText()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, text);
    QFETCH(QStringList, captures);
    const Handler handler(pattern);
    QTEST(handler.matches(text), "matches");
    if (handler.matches(text)) {
        QCOMPARE(handler.regExp().capturedTexts(), captures);
    }
}

void RegExpHandlerTest::readsBytesOfTheLocale()
{
    const ScopedLatin1 locale;
    const Handler handler(QStringLiteral("KEY(.*)"));

    QVERIFY(handler.matches("KEY\xfc"));

    QCOMPARE(handler.regExp().cap(1), QString(QChar(0xfc)));
}

void RegExpHandlerTest::startsWhereTheHintSays_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QList<QByteArray>>("words");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("position");

    const QList<QByteArray> words{"KEY", "NAME"};
    QTest::newRow("word is there") << ".KEY" << words << "" << QByteArray("aaKEY") << 1;
    QTest::newRow("other word is there") << ".NAME" << words << "" << QByteArray("aaNAME") << 1;
    QTest::newRow("no word is there") << "a" << words << "" << QByteArray("aaa") << -1;
    QTest::newRow("start is there") << "." << QList<QByteArray>{} << "b" << QByteArray("aab") << 2;
    QTest::newRow("start in trimmed text") << "." << QList<QByteArray>{} << "b" << QByteArray("  aab") << 2;
    QTest::newRow("start is not there") << "." << QList<QByteArray>{} << "c" << QByteArray("aab") << -1;
    QTest::newRow("found behind the start") << "b" << QList<QByteArray>{} << "a" << QByteArray("xab") << 2;
    QTest::newRow("caret stands before the text") << "^b" << QList<QByteArray>{} << "b" << QByteArray("ab") << -1;
    QTest::newRow("word without a match") << "KEY=" << words << "KEY" << QByteArray("KEY") << -1;
}

void RegExpHandlerTest::startsWhereTheHintSays()
{
    QFETCH(QString, pattern);
    QFETCH(QList<QByteArray>, words);
    QFETCH(QString, start);
    QFETCH(QByteArray, text);
    QFETCH(int, position);
    const Handler handler(pattern, SearchHint(words, start));
    QCOMPARE(handler.matches(text), position != -1);
    if (position != -1) {
        QCOMPARE(handler.regExp().pos(), position);
    }
}

void RegExpHandlerTest::forgetsTheLineBefore()
{
    const Handler handler(number());
    QVERIFY(handler.matches("KEY 1"));
    QVERIFY(handler.matches("KEY 22"));
    QCOMPARE(handler.regExp().cap(1), QStringLiteral("22"));
    QVERIFY(!handler.matches("KEY"));
    QVERIFY(handler.matches("KEY 3"));
    QCOMPARE(handler.regExp().cap(1), QStringLiteral("3"));
}

QTEST_GUILESS_MAIN(RegExpHandlerTest)
#include "RegExpHandlerTest.moc"
