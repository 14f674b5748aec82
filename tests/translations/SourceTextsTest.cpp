// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The texts that translators see: what lupdate(1) finds in the sources is just what the system says.

#include "tests/support/Program.h"
#include "tests/support/Texts.h"

#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace
{
/// Each "context: source text", sorted.
QStringList textsIn(const QString &tsFile)
{
    QFile file(tsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return {QStringLiteral("cannot read %1").arg(tsFile)};
    }
    QXmlStreamReader xml(&file);
    QStringList texts;
    QString context;
    while (xml.readNext() != QXmlStreamReader::EndDocument && !xml.hasError()) {
        if (!xml.isStartElement()) {
            continue;
        }
        if (xml.attributes().hasAttribute(QLatin1String("numerus"))) {
            texts += QStringLiteral("%1: a text with plural forms").arg(context);
        }
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("source")) {
            texts += QStringLiteral("%1: %2").arg(context, xml.readElementText());
        } else if (xml.name() == QLatin1String("comment")) {
            // part of the look-up too: a text with one has no translation without it
            texts += QStringLiteral("%1: the comment %2").arg(context, xml.readElementText());
        }
    }
    texts.sort();
    return texts;
}

/// What lupdate(1) finds in these folders, as textsIn() has it; in case of failure what it says.
QStringList textsOf(const QStringList &folders)
{
    const QTemporaryDir folder;
    const QString tsFile = folder.filePath(QStringLiteral("all.ts"));
    QStringList arguments;
    for (const QString &part : folders) {
        arguments += QStringLiteral(SOURCES "/") + part;
    }
    arguments += {QStringLiteral("-I"), QStringLiteral(SOURCES), QStringLiteral("-ts"), tsFile};
    const ProgramResult lupdate = runAs(0, QStringLiteral("/usr/lib/qt5/bin/lupdate"), arguments);
    return lupdate.exitCode == 0 ? textsIn(tsFile) : QStringList{QString::fromLocal8Bit(lupdate.standardError)};
}

QStringList expectedTexts()
{
    QStringList all = texts({
        "LocalPolicyLockoutReadTask: Read default lockout account policy",
        "LocalPolicyLockoutReadTask: \"%1\" not contain \"pam_tally\"",
        "LocalPolicyLockoutUpdateTask: Update default lockout account policy",
        "LocalPolicyLockoutUpdateTask: \"%1\" not contain \"pam_tally\"",
        "LocalPolicyPasswordComplexityReadTask: Read default password complexity policy",
        "LocalPolicyPasswordComplexityReadTask: \"%1\" not contain \"pam_cracklib or pam_pwquality\"",
        "LocalPolicyPasswordComplexityUpdateTask: Update default password complexity policy",
        "LocalPolicyPasswordComplexityUpdateTask: \"%1\" not contain \"pam_cracklib\"",
        "LocalPolicyPasswordComplexityUpdateTask: \"%1\" not contain \"pam_pwquality\"",
        "LocalPolicyPasswordComplexityUpdateTask: Both profiles of supported PAM modules do not exist (%1, %2)",
        "LocalPolicyPasswordExpirationReadTask: Read default password expiration policy",
        "LocalPolicyPasswordExpirationUpdateTask: Update default password expiration policy",
        "LocalPolicyPasswordExpirationUpdateTask: Default password expiration policy will be applied only for new user "
        "creation",
        "LocalUserPolicyPasswordExpirationReadTask: Read user password expiration policy",
        "LocalUserPolicyPasswordExpirationReadTask: Internal error: %1",
        "LocalUserPolicyPasswordExpirationReadTask: System not use /etc/shadow for this account",
        "LocalUserPolicyPasswordExpirationUpdateTask: Update user password expiration policy",
        "QObject: Export to HTML",
        "QObject: \"%1\" not exists",
        "QObject: \"%1\" error %2\n%3",
    });
    for (const char *context : {"LocalPolicyLockoutUpdateTask",
                                "LocalPolicyPasswordComplexityUpdateTask",
                                "LocalUserPolicyPasswordExpirationUpdateTask",
                                "QObject"}) {
        for (const char *text : {"Process: \"%1 %2\". Error: %3.\n\"Not started\"",
                                 "Process: \"%1 %2\". Error: %3.\n\"Not finished\"",
                                 "Process: \"%1 %2\". Exit code: %3.\n\"%4\""}) {
            all += QLatin1String(context) + QLatin1String(": ") + QLatin1String(text);
        }
    }
    all.sort();
    return all;
}
}

class SourceTextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void areJustTheSystemsOwn();
    void ofTheClientAreInTheContextOfTheirFile();
};

void SourceTextsTest::areJustTheSystemsOwn()
{
    const QString folders = QStringLiteral("tasks engine policies helper tests bench");

    QCOMPARE(textsOf(folders.split(QLatin1Char(' '))), expectedTexts());
}

void SourceTextsTest::ofTheClientAreInTheContextOfTheirFile()
{
    int found = 0;
    QStringList astray;
    QDirIterator sources(
        QStringLiteral(SOURCES "/client"), {QStringLiteral("*.cpp")}, QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        const QString source = sources.next().mid(qstrlen(SOURCES "/"));
        const QStringList texts = textsOf({source});
        found += texts.size();
        for (const QString &text : texts) {
            if (!text.startsWith(sources.fileInfo().completeBaseName() + QLatin1String(": "))) {
                astray += source + QLatin1String(": ") + text;
            }
        }
    }

    QVERIFY(found > 0);
    QCOMPARE(astray, QStringList());
}

QTEST_GUILESS_MAIN(SourceTextsTest)
#include "SourceTextsTest.moc"
