// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/ErrorText.h"

#include "tests/support/RecordingTranslator.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class ErrorTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void putsMessagesOnLinesOfTheirOwn_data();
    void putsMessagesOnLinesOfTheirOwn();
    void collectsMessagesInOrder();
    void namesTheMissingFile_data();
    void namesTheMissingFile();
    void saysWhatFailed_data();
    void saysWhatFailed();
    void saysThatNothingFailed();
    void translatesTheMissingFile();
    void translatesTheError();
};

void ErrorTextTest::putsMessagesOnLinesOfTheirOwn_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("after");

    QTest::newRow("first message") << QString() << "message"
                                   << "message";
    QTest::newRow("first message, empty string") << ""
                                                 << "message"
                                                 << "message";
    QTest::newRow("second message") << "x"
                                    << "message"
                                    << "x\nmessage";
    QTest::newRow("behind a line end") << "x\n"
                                       << "message"
                                       << "x\n\nmessage";
    QTest::newRow("of two lines") << "x"
                                  << "one\ntwo"
                                  << "x\none\ntwo";
    QTest::newRow("empty message") << "x"
                                   << ""
                                   << "x\n";
    QTest::newRow("empty first message") << ""
                                         << ""
                                         << "";
    QTest::newRow("placeholder") << "%1"
                                 << "%2"
                                 << "%1\n%2";
}

void ErrorTextTest::putsMessagesOnLinesOfTheirOwn()
{
    QFETCH(QString, before);
    QFETCH(QString, message);
    QString text = before;
    appendMessage(&text, message);
    QTEST(text, "after");
}

void ErrorTextTest::collectsMessagesInOrder()
{
    QString text;
    appendMessage(&text, QStringLiteral("one"));
    appendMessage(&text, QStringLiteral("two"));
    appendMessage(&text, QStringLiteral("three"));
    QCOMPARE(text, QStringLiteral("one\ntwo\nthree"));
}

void ErrorTextTest::namesTheMissingFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("message");

    QTest::newRow("absolute") << "/etc/login.defs"
                              << "\"/etc/login.defs\" not exists";
    QTest::newRow("as passed in") << "../a//b"
                                  << "\"../a//b\" not exists";
    QTest::newRow("no path") << ""
                             << "\"\" not exists";
    QTest::newRow("placeholders") << "/%1/%2"
                                  << "\"/%1/%2\" not exists";
    QTest::newRow("unicode") << QStringLiteral("/\u00fc") << QStringLiteral("\"/\u00fc\" not exists");
}

void ErrorTextTest::namesTheMissingFile()
{
    QFETCH(QString, path);
    QTEST(missingFileMessage(QFile(path)), "message");
}

void ErrorTextTest::saysWhatFailed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain name") << "file";
    QTest::newRow("placeholders") << "%1%2%3%4";
    QTest::newRow("unicode") << QStringLiteral("\u00fc");
}

void ErrorTextTest::saysWhatFailed()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    const QString path = folder.filePath(name);
    QFile file(path);
    QVERIFY(!file.open(QIODevice::ReadOnly));
    QCOMPARE(fileErrorMessage(file), QLatin1Char('"') + path + QLatin1String("\" error 5\nNo such file or directory"));
    QVERIFY(!file.remove());
    QCOMPARE(fileErrorMessage(file), QLatin1Char('"') + path + QLatin1String("\" error 9\nNo such file or directory"));
}

void ErrorTextTest::saysThatNothingFailed()
{
    const QFile file(QStringLiteral("a"));
    QCOMPARE(fileErrorMessage(file), QStringLiteral("\"a\" error 0\nUnknown error"));
}

void ErrorTextTest::translatesTheMissingFile()
{
    const RecordingTranslator translator;
    QCOMPARE(missingFileMessage(QFile(QStringLiteral("a"))), QStringLiteral("[\"a\" not exists]"));
    QCOMPARE(translator.texts(), (QList<TranslatedText>{{"QObject", "\"%1\" not exists"}}));
}

void ErrorTextTest::translatesTheError()
{
    const RecordingTranslator translator;
    const QFile file(QStringLiteral("a"));
    QCOMPARE(fileErrorMessage(file), QStringLiteral("[\"a\" error 0\n[Unknown error]]"));
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

QTEST_GUILESS_MAIN(ErrorTextTest)
#include "ErrorTextTest.moc"
