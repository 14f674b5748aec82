// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The texts that translators see: what lupdate(1) finds in the sources is just what the system says.

#include "tests/support/InterfacePage.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"

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
    const ProgramResult lupdate = runAs(0, QStringLiteral(LUPDATE), arguments);
    return lupdate.exitCode == 0 ? textsIn(tsFile) : QStringList{QString::fromLocal8Bit(lupdate.standardError)};
}

/// Those that docs/interface.md promises.
QStringList expectedTexts()
{
    QStringList texts;
    for (const QStringList &row : interfaceTable(QStringLiteral("Texts"))) {
        const QString text = codeIn(row.at(1)).join(QString()).replace(QLatin1String("\\n"), QLatin1String("\n"));
        for (const QString &context : row.at(0).split(QStringLiteral(", "))) {
            texts += QStringLiteral("%1: ").arg(context) + text;
        }
    }
    texts.sort();
    return texts;
}
}

class SourceTextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void areJustTheSystemsOwn();
    void ofOthersAreInTheContextOfTheirFile_data();
    void ofOthersAreInTheContextOfTheirFile();
};

void SourceTextsTest::areJustTheSystemsOwn()
{
    const QString folders = QStringLiteral(
        "messages tasks engine policies/complexity policies/expiration policies/files policies/lockout policies/pam "
        "helper tests bench");

    QCOMPARE(textsOf(folders.split(QLatin1Char(' '))), expectedTexts());
}

void SourceTextsTest::ofOthersAreInTheContextOfTheirFile_data()
{
    const Rows<RowText> row("folder");
    for (const char *folder : {"client", "policies/faillock", "policies/machine", "policies/modules"}) {
        row(folder, folder);
    }
}

void SourceTextsTest::ofOthersAreInTheContextOfTheirFile()
{
    QFETCH(const QString, folder);
    int found = 0;
    QStringList astray;
    QDirIterator sources(
        QStringLiteral(SOURCES "/") + folder, {QStringLiteral("*.cpp")}, QDir::Files, QDirIterator::Subdirectories);
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
