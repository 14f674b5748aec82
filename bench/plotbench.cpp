// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// How long whole processes take that extract the same from the same file, by the file's size: plotbench lines|length.

#include "bench/Inputs.h"
#include "bench/Measuring.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QVector>

#include <utility>

namespace
{
// a small file's time is mostly the start of the process, which varies
constexpr int smallSize = 10000;
constexpr int roundsOfSmall = 41;
constexpr int roundsOfLarge = 7;
constexpr int patience = 20000; // ms
const char lastValue[] = "4711"; // by it every tool shows that it has read to the end

struct Tool {
    QString program;
    QStringList arguments;
    QByteArray input;
    bool mayGiveUp;
    bool gaveUp = false;
};

struct Plot {
    const char *unit;
    QVector<int> sizes;
    QByteArray (*content)(int size);
    QVector<Tool> tools;
};

QByteArray settings(int lines)
{
    return loginDefs(lines - 1) + "PASS_MAX_DAYS " + lastValue + '\n';
}

QByteArray optionsLine(int bytes)
{
    const QByteArray head = "auth required pam_tally.so";
    const QByteArray tail = QByteArray(" deny=") + lastValue + '\n';
    const QByteArray option = " deny=3";
    return head + option.repeated((bytes - head.size() - tail.size()) / option.size()) + tail;
}

Tool augtool(const QString &lens, const QString &path, const char *node)
{
    const QString transform = QStringLiteral("%1.lns incl %2").arg(lens, path);
    return {QStringLiteral("augtool"),
            {QStringLiteral("--noautoload"), QStringLiteral("--transform"), transform},
            "get /files" + path.toUtf8() + node + '\n',
            true};
}

Plot byLines(const QString &path)
{
    const QString perl =
        QStringLiteral("$v{$1} = $2 if /^(?:[^#]*\\s)?(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)\\s*(-?\\d+)/; "
                       "END { print qq($_=$v{$_}\\n) for keys %v }");
    return {"lines",
            {100, 300, 1000, 3000, 10000, 30000, 100000, 300000, 1000000},
            settings,
            {{QStringLiteral(WALK), {QStringLiteral("ageing"), path}, {}, false},
             {QStringLiteral("sed"), {QStringLiteral("-n"), QStringLiteral("-E"), ageingScript(), path}, {}, false},
             {QStringLiteral("perl"), {QStringLiteral("-ne"), perl, path}, {}, false},
             augtool(QStringLiteral("Login_defs"), path, "/PASS_MAX_DAYS[last()]")}};
}

Plot byLength(const QString &path)
{
    const QString names = QStringLiteral("(per_user|magic_root|no_reset|deny|lock_time|unlock_time)");
    const QString sed = QStringLiteral("s/#.*//; s/.*pam_tally\\.so//; T; "
                                       "s/[[:space:]]+[^[:space:]]*%1=?([0-9]*)[^[:space:]]*/\\1=\\2\\n/g; p")
                            .arg(names);
    const QString perl = QStringLiteral("s/#.*//s; s/.*pam_tally\\.so//s or next; "
                                        "$v{$1} = $2 while /\\s\\S*?%1=?(\\d*)\\S*/g; "
                                        "END { print qq($_=$v{$_}\\n) for keys %v }")
                             .arg(names);
    return {"bytes",
            {100, 300, 1000, 3000, 10000, 30000, 100000, 300000, 1000000, 2000000, 5000000},
            optionsLine,
            {{QStringLiteral(WALK), {QStringLiteral("lockout"), path}, {}, false},
             {QStringLiteral("sed"), {QStringLiteral("-n"), QStringLiteral("-E"), sed, path}, {}, false},
             {QStringLiteral("perl"), {QStringLiteral("-ne"), perl, path}, {}, false},
             augtool(QStringLiteral("Pam"), path, "/1/argument[. =~ regexp('deny=.*')][last()]")}};
}

/// Whether the tool came to its end in time; if it did, what it read is right.
bool run(const Tool &tool)
{
    QProcess process;
    process.start(tool.program, tool.arguments);
    process.write(tool.input);
    process.closeWriteChannel();
    if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    if (process.exitCode() != 0 || !process.readAllStandardOutput().contains(lastValue)) {
        qFatal("%s did not read the last value", qPrintable(tool.program));
    }
    return true;
}

/// Leaves out of this size and those to come whoever has no patience left for.
QVector<Work> works(QVector<Tool> *tools)
{
    QVector<Work> works;
    for (Tool &tool : *tools) {
        tool.gaveUp = tool.gaveUp || !run(tool);
        if (tool.gaveUp && !tool.mayGiveUp) {
            qFatal("%s did not come to its end", qPrintable(tool.program));
        }
        if (!tool.gaveUp) {
            works += [&tool] {
                run(tool);
            };
        }
    }
    return works;
}

void printRow(int size, const QVector<Tool> &tools, QVector<double> medians)
{
    QTextStream out(stdout);
    out << qSetFieldWidth(10) << size;
    for (const Tool &tool : tools) {
        out << (tool.gaveUp ? QStringLiteral("-") : QString::number(medians.takeFirst(), 'f', 3));
    }
    out << qSetFieldWidth(0) << '\n';
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings"));
    const QString what = QCoreApplication::arguments().value(1);
    if (what != QLatin1String("lines") && what != QLatin1String("length")) {
        qFatal("usage: plotbench lines|length");
    }
    Plot plot = what == QLatin1String("lines") ? byLines(path) : byLength(path);
    QTextStream(stdout) << QString::asprintf("%10s%10s%10s%10s%10s\n", plot.unit, "ours", "sed", "perl", "augtool");
    for (const int size : std::as_const(plot.sizes)) {
        writeInput(path, plot.content(size));
        const QVector<Work> inTurn = works(&plot.tools);
        printRow(size, plot.tools, measureInTurn(size <= smallSize ? roundsOfSmall : roundsOfLarge, inTurn));
    }
    return 0;
}
