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
double walk(const QString &path)
{
    return measure(rounds, [&path] {
        QVariantMap values;
        QString error;
        Handler handler(&values);
        if (!readFile(path, &handler, &error)) {
            qFatal("%s", qPrintable(error));
        }
    });
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

void growWithLines(const QString &path)
{
    constexpr int base = 100000;
    writeInput(path, loginDefs(base));
    const double baseTime = walk<Ageing>(path);
    for (const int factor : {1, 2, 5, 10}) {
        writeInput(path, loginDefs(base * factor));
        printRow(QStringLiteral("%1 lines").arg(base * factor), {walk<Ageing>(path), baseTime * factor}, linear);
    }
}

template<typename Handler>
void growWithLength(
    const QString &name, const QByteArray &head, const QByteArray &filling, const QByteArray &tail, const QString &path)
{
    constexpr int base = 500000;
    const auto line = [&](int length) {
        return head + filling.repeated(length / filling.size()) + tail + '\n';
    };
    writeInput(path, line(base));
    const double baseTime = walk<Handler>(path);
    for (const int factor : {2, 4, 10}) {
        writeInput(path, line(base * factor));
        printRow(QStringLiteral("%1, %2 bytes").arg(name).arg(base * factor),
                 {walk<Handler>(path), baseTime * factor},
                 linear);
    }
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
    growWithLines(path);

    printHeading(QStringLiteral("The walk by the length of a line (other: the time for 500,000 bytes, in proportion)"));
    growWithLength<Lockout>(QStringLiteral("without the module"), "auth ", "x", "", path);
    growWithLength<Lockout>(QStringLiteral("options of the module"), "auth required pam_tally.so", " deny=3", "", path);
    growWithLength<Lockout>(QStringLiteral("one long option"), "auth required pam_tally.so ", "x", "", path);
    growWithLength<Ageing>(QStringLiteral("blanks before a setting"), "x", " ", "PASS_MAX_DAYS 5", path);
    growWithLength<Ageing>(QStringLiteral("blanks behind a setting"), "PASS_MAX_DAYS", " ", "x", path);
    growWithLength<Ageing>(QStringLiteral("settings without number"), "", "PASS_MAX_DAYS ", "", path);

    return rowsAboveLimit() == 0 ? 0 : 1;
}
