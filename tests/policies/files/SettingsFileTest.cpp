// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Reader and rewriter of a file of settings that no policy has, so that nothing but the table can bring them in.

#include "policies/files/SettingsFile.h"

#include "policies/files/SettingsFileReader.h"
#include "policies/files/SettingsFileRewriter.h"
#include "tests/support/Rows.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
QVariant readText(const QString &text)
{
    return text == QLatin1String("none") ? QVariant() : QVariant(text);
}

QString writeText(const QVariant &argument)
{
    return argument.toString();
}

const SettingsFile &sampleFile()
{
    static const SettingsFile file{
        QString(),
        QStringLiteral(R"(\s*=?\s*)"),
        QStringLiteral(R"(\w*)"),
        QStringLiteral(" = "),
        {
            {QStringLiteral("colour"), QStringLiteral("c"), readText, writeText, "\n"},
            {QStringLiteral("loud"), QStringLiteral("l"), nullptr, nullptr, "\n"},
            {QStringLiteral("size"), QStringLiteral("s"), readText, writeText, ""},
        },
    };
    return file;
}

/// The lines as a rewrite leaves them, each in brackets, and behind a plus sign what it adds.
QByteArray rewritten(const QVariantMap &arguments, const QByteArray &lines)
{
    SettingsFileRewriter rewriter(sampleFile(), &arguments);
    QByteArray result;
    for (const QByteArray &line : lines.split('\n')) {
        QByteArray buffer = line;
        const bool claimed = rewriter.matches(line) && rewriter.handleLine(&buffer);
        result += claimed ? '[' + buffer + ']' : line;
    }
    QByteArray tail("as before");
    return rewriter.appendLines(&tail) ? result + '+' + tail : result + (tail == "as before" ? "" : "changed");
}

const QString colour = QStringLiteral("c");
const QString loud = QStringLiteral("l");
const QString size = QStringLiteral("s");
}

class SettingsFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads();
    void rewrites_data();
    void rewrites();
    void writesBytesOfTheLocale();
    void hintsAtItsNames();
    void hintsBehindManyBlanks();
};

void SettingsFileTest::reads_data()
{
    const Rows<QByteArray, QVariantMap> row("lines", "expected");
    const QVariant red = QStringLiteral("red");
    row("nothing", "other = 1", {});
    row("values", "colour = red\nsize=5", {{colour, red}, {size, QStringLiteral("5")}});
    row("flag", "loud", {{loud, true}});
    row("flag with a value", "loud = no", {{loud, true}});
    row("later line wins", "colour = blue\ncolour = red", {{colour, red}});
    row("nothing to report", "colour = red\ncolour = none", {{colour, red}});
}

void SettingsFileTest::reads()
{
    QFETCH(QByteArray, lines);
    QFETCH(QVariantMap, expected);
    QVariantMap values;
    SettingsFileReader reader(sampleFile(), &values);
    for (const QByteArray &line : lines.split('\n')) {
        QVERIFY(!reader.matches(line) || reader.handleLine(nullptr));
    }
    QCOMPARE(typedEntries(values), typedEntries(expected));
}

void SettingsFileTest::rewrites_data()
{
    const Rows<QVariantMap, QByteArray, QByteArray> row("arguments", "lines", "expected");
    const QVariantMap all{{colour, QStringLiteral("red")}, {loud, true}, {size, 5}};
    row("in place", all, "size=1\nother\nloud\ncolour=x", "[size = 5]other[loud][colour = red]");
    row("at the end", all, "other", "other+colour = red\nloud\nsize = 5");
    row("some in place", all, "loud = yes", "[loud]+colour = red\nsize = 5");
    row("twice", all, "loud\nsize=1\nsize=2", "[loud][size = 5][size = 5]+colour = red\n");
    row("no arguments", {}, "size=1\nloud\ncolour=x", "[][][]+");
    row("flag that is false", {{loud, false}}, "loud", "[]+");
    row("flag that is false and nowhere", {{loud, false}}, "other", "other+");
    row("flag by text", {{loud, QStringLiteral("yes")}}, "other", "other+loud\n");
    row("empty value", {{colour, QString()}}, "colour=x", "[colour = ]+");
    row("other arguments", {{QStringLiteral("loud"), true}}, "loud", "[]+");
}

void SettingsFileTest::rewrites()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, lines);
    QTEST(rewritten(arguments, lines), "expected");
}

void SettingsFileTest::writesBytesOfTheLocale()
{
    const ScopedLatin1 locale;
    const QVariantMap arguments{{colour, QString(QChar(0xe9))}, {loud, true}, {size, QString(QChar(0xfc))}};
    QCOMPARE(rewritten(arguments, "colour=x\nloud"), QByteArray("[colour = \xe9][loud]+size = \xfc"));
}

void SettingsFileTest::hintsAtItsNames()
{
    const SearchHint hint = sampleFile().hint();
    QVERIFY(hint.admits("colour") && hint.admits("xloudx") && hint.admits("size"));
    QVERIFY(!hint.admits("color = Size of clous, lou d"));
}

/// Giving back one blank after the other, the search would reach its limit before it comes to the setting.
void SettingsFileTest::hintsBehindManyBlanks()
{
    SettingsFile file = sampleFile();
    file.textPattern = QStringLiteral(R"(\d+)");
    const QString before = QStringLiteral("size") + QString(100000, QLatin1Char(' ')) + QLatin1Char('x');
    QCOMPARE(file.hint().startIn(before + QLatin1String(" size=5")), before.size());
}

QTEST_GUILESS_MAIN(SettingsFileTest)
#include "SettingsFileTest.moc"
