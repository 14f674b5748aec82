// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionTokens.h"

#include <QTest>

class PamOptionTokensTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitsAtWhiteSpace_data();
    void splitsAtWhiteSpace();
    void splitsManyTokens();
};

void PamOptionTokensTest::splitsAtWhiteSpace_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QStringList>("tokens");

    QTest::newRow("nothing") << QString() << QStringList();
    QTest::newRow("only blanks") << QStringLiteral(" \t  ") << QStringList();
    QTest::newRow("one token") << QStringLiteral("deny=3") << QStringList{QStringLiteral("deny=3")};
    QTest::newRow("blanks around") << QStringLiteral("  deny=3 ") << QStringList{QStringLiteral("deny=3")};
    QTest::newRow("single blanks") << QStringLiteral(" a b c")
                                   << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QTest::newRow("tabs and runs of blanks")
        << QStringLiteral("\ta   b \t c") << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QTest::newRow("other white space") << QStringLiteral("a\rb\fc\vd\ne")
                                       << QStringList{QStringLiteral("a"),
                                                      QStringLiteral("b"),
                                                      QStringLiteral("c"),
                                                      QStringLiteral("d"),
                                                      QStringLiteral("e")};
    QTest::newRow("white space beyond ASCII")
        << QStringLiteral("a\u00a0b\u2003c")
        << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QTest::newRow("repeated tokens") << QStringLiteral("b a b")
                                     << QStringList{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("marks of options") << QStringLiteral("== = a=b=c [x=y]")
                                      << QStringList{QStringLiteral("=="),
                                                     QStringLiteral("="),
                                                     QStringLiteral("a=b=c"),
                                                     QStringLiteral("[x=y]")};
    QTest::newRow("NUL is no white space")
        << QString(QLatin1String("a\0b c", 5)) << QStringList{QString(QLatin1String("a\0b", 3)), QStringLiteral("c")};
}

void PamOptionTokensTest::splitsAtWhiteSpace()
{
    QFETCH(QString, options);
    QFETCH(QStringList, tokens);
    QCOMPARE(pamOptionTokens(options), tokens);
}

void PamOptionTokensTest::splitsManyTokens()
{
    const QString token = QStringLiteral("retry=3");
    QStringList expected;
    for (int i = 0; i < 100000; ++i) {
        expected += token;
    }
    QCOMPARE(pamOptionTokens(expected.join(QLatin1Char('\t'))), expected);
}

QTEST_GUILESS_MAIN(PamOptionTokensTest)
#include "PamOptionTokensTest.moc"
