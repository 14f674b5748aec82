// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/differential/SecondReadings.h"

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "tests/support/Program.h"
#include "tests/support/TypedMap.h"

#include <QDebug>
#include <QTest>

#include <memory>

namespace
{
QByteArray answer(const QString &script, const QVector<Record> &records)
{
    QByteArray input;
    for (const Record &record : records) {
        input += record.head + ' ' + QByteArray::number(record.content.size()) + '\n' + record.content;
    }
    const ProgramResult result = runAs(root, QStringLiteral("perl"), {QStringLiteral(SCRIPTS "/") + script}, input);
    if (result.exitCode != 0 || !result.standardError.isEmpty()) {
        qFatal("%s: %s", qPrintable(script), result.standardError.constData());
    }
    return result.standardOutput;
}

std::unique_ptr<AbstractTask> readTaskOf(Kind kind)
{
    switch (kind) {
    case Kind::CommonAuth:
        return std::make_unique<LocalPolicyLockoutReadTask>(nullptr);
    case Kind::CommonPassword:
        return std::make_unique<LocalPolicyPasswordComplexityReadTask>(nullptr);
    default:
        return std::make_unique<LocalPolicyPasswordExpirationReadTask>(nullptr);
    }
}

int takeNumber(QStringList *arguments, const QString &option, int usual)
{
    const int place = arguments->indexOf(option);
    if (place < 0) {
        return usual;
    }
    bool valid = false;
    const int number = arguments->value(place + 1).toInt(&valid);
    if (!valid || number < 0) {
        qFatal("%s wants a number", qPrintable(option));
    }
    arguments->removeAt(place + 1);
    arguments->removeAt(place);
    return number;
}
}

QByteArrayList readingsBy(const QString &script, const QVector<Record> &records)
{
    QByteArrayList lines = answer(script, records).split('\n');
    lines.removeLast(); // behind the last line end
    if (lines.size() != records.size()) {
        qFatal("%s answers %d of %d records", qPrintable(script), lines.size(), records.size());
    }
    return lines;
}

QByteArrayList rewritings(const QVector<Record> &records)
{
    const QByteArray output = answer(QStringLiteral("rewriting.pl"), records);
    QByteArrayList contents;
    for (int place = 0; place < output.size();) {
        const int end = output.indexOf('\n', place);
        contents += output.mid(end + 1, output.mid(place, end - place).toInt());
        place = end + 1 + contents.last().size();
    }
    if (contents.size() != records.size()) {
        qFatal("rewriting.pl answers %d of %d records", contents.size(), records.size());
    }
    return contents;
}

QByteArray ownReading(Kind kind)
{
    const std::unique_ptr<AbstractTask> task = readTaskOf(kind);
    task->run();
    const QStringList parts = QStringList{QStringLiteral("state %1").arg(task->result().state()),
                                          QLatin1String("message ") + task->result().message()}
        + typedEntries(*task->values());
    return parts.join(QLatin1String("; ")).toUtf8();
}

QByteArray
difference(quint32 seed, int number, const Record &record, const QByteArray &expected, const QByteArray &actual)
{
    QString report;
    QDebug(&report).nospace() << "file " << number << " of seed " << seed << ", " << record.head.constData() << '\n'
                              << record.content << "\nsecond: " << expected << "\nours:   " << actual;
    return report.toUtf8();
}

void addKinds()
{
    QTest::addColumn<Kind>("kind");
    for (const Kind kind : allKinds) {
        QTest::newRow(nameOf(kind).constData()) << kind;
    }
}

Extent takeExtent(QStringList *arguments, int usualFiles)
{
    Extent extent;
    extent.seed = quint32(takeNumber(arguments, QStringLiteral("--seed"), 1));
    extent.files = takeNumber(arguments, QStringLiteral("--files"), usualFiles);
    return extent;
}
