// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/ErrorText.h"

#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class ErrorTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void putsMessagesOnLinesOfTheirOwn_data();
    void putsMessagesOnLinesOfTheirOwn();
    void saysWhatFailed_data();
    void saysWhatFailed();
    void translatesAsQObject();
};

void ErrorTextTest::putsMessagesOnLinesOfTheirOwn_data()
{
    const Rows<RowText, RowText, RowText> row("before", "message", "after");
    row("first message", QString(), "message", "message");
    row("first message, empty string", "", "message", "message");
    row("second message", "x", "message", "x\nmessage");
    row("third message", "x\ny", "message", "x\ny\nmessage");
    row("behind a line end", "x\n", "message", "x\n\nmessage");
    row("of two lines", "x", "one\ntwo", "x\none\ntwo");
    row("empty message", "x", "", "x\n");
    row("empty first message", "", "", "");
    row("placeholder", "%1", "%2", "%1\n%2");
}

void ErrorTextTest::putsMessagesOnLinesOfTheirOwn()
{
    QFETCH(QString, before);
    QFETCH(QString, message);
    QString text = before;
    appendMessage(&text, message);
    QTEST(text, "after");
}

void ErrorTextTest::saysWhatFailed_data()
{
    const Rows<RowText> row("name");
    row("plain name", "file");
    row("placeholders", "%1%2%3%4");
    row("unicode", "\u00fc");
}

void ErrorTextTest::saysWhatFailed()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    QFile file(folder.filePath(name));
    const QString quoted = QLatin1Char('"') + file.fileName() + QLatin1Char('"');

    QCOMPARE(fileErrorMessage(file), quoted + QLatin1String(" error 0\nUnknown error"));
    QVERIFY(!file.open(QIODevice::ReadOnly));
    QCOMPARE(fileErrorMessage(file), quoted + QLatin1String(" error 5\nNo such file or directory"));
    QVERIFY(!file.remove());
    QCOMPARE(fileErrorMessage(file), quoted + QLatin1String(" error 9\nNo such file or directory"));
}

void ErrorTextTest::translatesAsQObject()
{
    const RecordingTranslator translator;
    const QFile file(QStringLiteral("a"));

    QCOMPARE(missingFileMessage(file), QStringLiteral("[\"a\" not exists]"));
    QCOMPARE(translator.texts(), (QList<TranslatedText>{{"QObject", "\"%1\" not exists"}}));
    // the text within is Qt's own
    QCOMPARE(fileErrorMessage(file), QStringLiteral("[\"a\" error 0\n[Unknown error]]"));
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

QTEST_GUILESS_MAIN(ErrorTextTest)
#include "ErrorTextTest.moc"
