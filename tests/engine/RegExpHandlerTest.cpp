// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/RegExpHandler.h"

#include "tests/support/Rows.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/Texts.h"
#include "tests/support/VirtualSlot.h"

#include <QTest>

#include <memory>
#include <type_traits>

namespace
{
using SearchWords = QList<QByteArray>;

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

const QString number = QStringLiteral("KEY\\s*(\\d+)");
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
};

void RegExpHandlerTest::isDeletedThroughItsBase()
{
    bool destroyed = false;
    std::unique_ptr<RegExpHandler> handler = std::make_unique<Handler>(number, SearchHint(), &destroyed);
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
    const QString pattern = QStringLiteral("(a\\s*)+b");
    QCOMPARE(Handler(pattern).regExp(), QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp));
}

void RegExpHandlerTest::appendsNothingByDefault()
{
    Handler handler(number);
    QByteArray tail("kept");
    QCOMPARE(handler.appendLines(&tail), false);
    QCOMPARE(tail, QByteArray("kept"));
}

void RegExpHandlerTest::searchesTheText_data()
{
    const Rows<RowText, QByteArray, QStringList> row("pattern", "text", "captures");
    // clang-format off
    row("whole text", "KEY (\\d+)", "KEY 5", texts({"KEY 5", "5"}));
    row("inside other text", "KEY (\\d+)", "xKEY 57y", texts({"KEY 57", "57"}));
    row("leftmost", "KEY (\\d)", "KEY 1 KEY 2", texts({"KEY 1", "1"}));
    row("longest", "(a|ab)", "ab", texts({"ab", "ab"}));
    row("not there", "KEY", "KEX", {});
    row("other case", "KEY", "key", {});
    row("trimmed in front", "^KEY", " \t\v\fKEY", texts({"KEY"}));
    row("trimmed behind", "KEY$", "KEY \t\r\n", texts({"KEY"}));
    row("trimmed before the search", "\\s*KEY\\s*", " KEY ", texts({"KEY"}));
    row("unicode blanks trimmed", "^KEY$", "\u00a0\u2003KEY\u3000", texts({"KEY"}));
    row("caret only at the start", "^b", "ab", {});
    row("empty text", "x*", "", {});
    row("null text", "x*", {}, {});
    row("only blanks", "\\s*", " \t \r\n", {});
    row("only unicode blanks", "\\s*", "\u00a0\u2028", {});
    row("empty match", "x*", "a", texts({""}));
    row("UTF-8", "(\u00fc)\\s*(.)$", "\u00fc\u20ac", texts({"\u00fc\u20ac", "\u00fc", "\u20ac"}));
    row("no valid UTF-8", "^(.)KEY(.)$", "\xff" "KEY\xc3", texts({"\ufffdKEY\ufffd", "\ufffd", "\ufffd"}));
    row("up to a NUL byte", "KEY(.*)", {"KEY 1\0 2", 8}, texts({"KEY 1", " 1"}));
    row("behind a NUL byte", "KEY", {"a\0KEY", 5}, {});
    row("NUL byte first", "\\s*", {"\0KEY", 4}, {});
    // clang-format on
}

void RegExpHandlerTest::searchesTheText()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, text);
    QFETCH(QStringList, captures);
    const Handler handler(pattern);
    QCOMPARE(handler.matches(text), !captures.isEmpty());
    if (!captures.isEmpty()) {
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
    const Rows<RowText, SearchWords, RowText, QByteArray, int> row("pattern", "words", "start", "text", "position");
    row("word is there", ".KEY", {"KEY", "NAME"}, "", "aaKEY", 1);
    row("other word is there", ".NAME", {"KEY", "NAME"}, "", "aaNAME", 1);
    row("no word is there", "a", {"KEY", "NAME"}, "", "aaa", -1);
    row("start is there", ".", {}, "b", "aab", 2);
    row("start in trimmed text", ".", {}, "b", "  aab", 2);
    row("start is not there", ".", {}, "c", "aab", -1);
    row("found behind the start", "b", {}, "a", "xab", 2);
    row("caret stands before the text", "^b", {}, "b", "ab", -1);
    row("word without a match", "KEY=", {"KEY", "NAME"}, "KEY", "KEY", -1);
}

void RegExpHandlerTest::startsWhereTheHintSays()
{
    QFETCH(QString, pattern);
    QFETCH(SearchWords, words);
    QFETCH(QString, start);
    QFETCH(QByteArray, text);
    QFETCH(int, position);
    const Handler handler(pattern, SearchHint(words, start));
    QCOMPARE(handler.matches(text), position != -1);
    if (position != -1) {
        QCOMPARE(handler.regExp().pos(), position);
    }
}

QTEST_GUILESS_MAIN(RegExpHandlerTest)
#include "RegExpHandlerTest.moc"
