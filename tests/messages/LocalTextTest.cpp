// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/LocalText.h"

#include "tests/support/Rows.h"
#include "tests/support/ScopedLatin1.h"

#include <QTest>

class LocalTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodes_data();
    void decodes();
    void encodes();
    void followsTheLocale();
};

void LocalTextTest::decodes_data()
{
    const Rows<QByteArray, RowText, QString> row("bytes", "text", "whole");
    row("nothing", "", "", QString());
    row("ASCII", "a b\n", "a b\n", QStringLiteral("a b\n"));
    row("UTF-8", "\u00fc\U0001f600", "\u00fc\U0001f600", QStringLiteral("\u00fc\U0001f600"));
    row("no valid UTF-8", "a\xff\xc3", "a\ufffd\ufffd", QStringLiteral("a\ufffd\ufffd"));
    row("surrogate", "\xed\xa0\x80", "\ufffd\ufffd\ufffd", QStringLiteral("\ufffd\ufffd\ufffd"));
    row("NUL byte", {"a\0b", 3}, "a", QString(QChar(u'a')) + QChar(u'\0') + QChar(u'b'));
    row("NUL byte first", {"\0b", 2}, "", QString(QChar(u'\0')) + QChar(u'b'));
}

void LocalTextTest::decodes()
{
    QFETCH(QByteArray, bytes);
    QTEST(localText(bytes), "text");
    QTEST(wholeLocalText(bytes), "whole");
}

void LocalTextTest::encodes()
{
    QCOMPARE(localBytes(QString()), QByteArray(""));
    QCOMPARE(localBytes(QStringLiteral("\u00fc\U0001f600")), QByteArray("\u00fc\U0001f600"));
    QCOMPARE(localBytes(QString(QChar(u'\0')) + QChar(u'x')), QByteArray("\0x", 2));
}

void LocalTextTest::followsTheLocale()
{
    const ScopedLatin1 locale;
    QCOMPARE(localText(QByteArray("\xfc\0x", 3)), QString(QChar(0xfc)));
    QCOMPARE(wholeLocalText("\xfc"), QString(QChar(0xfc)));
    QCOMPARE(localBytes(QStringLiteral("\u00fc\u20ac")), QByteArray("\xfc?"));
}

QTEST_GUILESS_MAIN(LocalTextTest)
#include "LocalTextTest.moc"
