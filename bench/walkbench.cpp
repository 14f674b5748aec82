// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// How the walk over a file grows with the number and the length of its lines, and how it compares with GNU sed.

#include "bench/Inputs.h"
#include "bench/Measuring.h"

#include "engine/FileReading.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>

namespace
{
constexpr int rounds = 9;
constexpr double linear = 1.25; // what noise may add to a ratio of 1

using Lockout = LocalPolicyLockoutReadTask::LoginReaderRegExpHandler;
using Ageing = LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler;

QByteArray onlySettings(int lines)
{
    return QByteArray("PASS_MAX_DAYS\t99999\n").repeated(lines);
}

template<typename Handler>
void walk(const QString &path)
{
    QVariantMap values;
    QString error;
    Handler handler(&values);
    if (!readFile(path, &handler, &error)) {
        qFatal("%s", qPrintable(error));
    }
}

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) {
        qFatal("%s failed", qPrintable(program));
    }
}

void compareWithSed(const QString &name, const QByteArray &content, const QString &path, double limit)
{
    writeInput(path, content);
    const QString script = ageingScript();
    const Medians medians = measure(
        rounds,
        [&path] {
            run(QStringLiteral(WALK), {QStringLiteral("ageing"), path});
        },
        [&path, &script] {
            run(QStringLiteral("sed"), {QStringLiteral("-n"), QStringLiteral("-E"), script, path});
        });
    printRow(name, medians, limit);
}

/// Walks in turn over inputs of growing size; each row compares one with what the first takes, in proportion.
template<typename Handler>
void grow(const QString &rowName,
          int base,
          const QVector<int> &factors,
          const std::function<QByteArray(int size)> &input)
{
    const QTemporaryDir folder;
    QVector<Work> walks;
    for (const int factor : factors) {
        const QString path = folder.filePath(QString::number(factor));
        writeInput(path, input(base * factor));
        walks += [path] {
            walk<Handler>(path);
        };
    }
    const QVector<double> times = measureInTurn(rounds, walks);
    for (int i = 1; i < factors.size(); ++i) {
        printRow(rowName.arg(base * factors.at(i)), {times.at(i), times.constFirst() * factors.at(i)}, linear);
    }
}

template<typename Handler>
void growWithLength(const QString &name, const QByteArray &head, const QByteArray &filling, const QByteArray &tail)
{
    grow<Handler>(name + QStringLiteral(", %1 bytes"), 1000000, {1, 2, 5}, [&](int length) {
        return head + filling.repeated(length / filling.size()) + tail + '\n';
    });
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings"));

    printHeading(QStringLiteral("Reading 250,000 lines: whole process, beside GNU sed with the same extraction"));
    compareWithSed(QStringLiteral("like login.defs, each tenth line a setting"), loginDefs(250000), path, 1.0);
    compareWithSed(QStringLiteral("each line a setting"), onlySettings(250000), path, 1.0);

    printHeading(QStringLiteral("The walk by the number of lines (other: the time for 100,000 lines, in proportion)"));
    grow<Ageing>(QStringLiteral("%1 lines"), 100000, {1, 2, 5, 10}, loginDefs);

    printHeading(
        QStringLiteral("The walk by the length of a line (other: the time for 1,000,000 bytes, in proportion)"));
    growWithLength<Lockout>(QStringLiteral("without the module"), "auth ", "x", "");
    growWithLength<Lockout>(QStringLiteral("options of the module"), "auth required pam_tally.so", " deny=3", "");
    growWithLength<Lockout>(QStringLiteral("one long option"), "auth required pam_tally.so ", "x", "");
    growWithLength<Ageing>(QStringLiteral("blanks before a setting"), "x", " ", "PASS_MAX_DAYS 5");
    growWithLength<Ageing>(QStringLiteral("blanks behind a setting"), "PASS_MAX_DAYS", " ", "x");
    growWithLength<Ageing>(QStringLiteral("settings without number"), "", "PASS_MAX_DAYS ", "");

    return rowsAboveLimit() == 0 ? 0 : 1;
}
