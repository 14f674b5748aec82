// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/differential/SecondReadings.h"

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/support/Program.h"
#include "tests/support/TypedMap.h"

#include <QDebug>
#include <QTest>

#include <memory>

namespace
{
constexpr int shownDifferences = 5;

QByteArray answer(const QString &script, const QVector<Record> &records)
{
    QByteArray input;
    for (const Record &record : records) {
        input += record.head + ' ' + QByteArray::number(record.content.size()) + '\n' + record.content;
    }
    const QStringList command{QStringLiteral(SCRIPTS "/") + script,
                              QString::number(QT_VERSION_MAJOR),
                              QString::fromLatin1(wordsOf(Kind::CommonAuth)),
                              QString::fromLatin1(wordsOf(Kind::CommonPassword))};
    const ProgramResult result = runAs(root, QStringLiteral("perl"), command, input);
    if (result.exitCode != 0 || !result.standardError.isEmpty()) {
        qFatal("%s: %s", qPrintable(script), result.standardError.constData());
    }
    return result.standardOutput;
}

template<typename Task>
int stateAfter(const QVariantMap &arguments)
{
    Task task(nullptr, new QVariantMap(arguments));
    task.run();
    return task.result().state();
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
    const auto place = arguments->indexOf(option);
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

void failCount(const QString &script, qsizetype answers, qsizetype records)
{
    qFatal("%s answers %s of %s records",
           qPrintable(script),
           qPrintable(QString::number(answers)),
           qPrintable(QString::number(records)));
}
}

QByteArrayList readingsBy(const QString &script, const QVector<Record> &records)
{
    QByteArrayList lines = answer(script, records).split('\n');
    lines.removeLast(); // behind the last line end
    if (lines.size() != records.size()) {
        failCount(script, lines.size(), records.size());
    }
    return lines;
}

QByteArrayList rewritings(const QVector<Record> &records)
{
    const QString script = QStringLiteral("rewriting.pl");
    const QByteArray output = answer(script, records);
    QByteArrayList contents;
    for (int place = 0; place < output.size();) {
        const int end = static_cast<int>(output.indexOf('\n', place));
        contents += output.mid(end + 1, output.mid(place, end - place).toInt());
        place = end + 1 + static_cast<int>(contents.last().size());
    }
    if (contents.size() != records.size()) {
        failCount(script, contents.size(), records.size());
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

int stateAfterWrite(Kind kind, const QVariantMap &arguments)
{
    switch (kind) {
    case Kind::CommonAuth:
        return stateAfter<LocalPolicyLockoutUpdateTask>(arguments);
    case Kind::CommonPassword:
        return stateAfter<LocalPolicyPasswordComplexityUpdateTask>(arguments);
    default:
        return stateAfter<LocalPolicyPasswordExpirationUpdateTask>(arguments);
    }
}

int countDifferences(
    quint32 seed, const QVector<Record> &records, const QByteArrayList &second, const QByteArrayList &own, int first)
{
    int differences = 0;
    for (int i = 0; i < records.size(); ++i) {
        if (own[i] != second[i] && ++differences <= shownDifferences) {
            qWarning().nospace() << "record " << first + i << " of seed " << seed << ", " << records[i].head.constData()
                                 << '\n'
                                 << records[i].content << "\nsecond: " << second[i] << "\nours:   " << own[i];
        }
    }
    return differences;
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
