// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// How the walk over a file grows with the number and the length of its lines, and how it compares with GNU sed.

#include "bench/Measuring.h"

#include "engine/FileReading.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace
{
constexpr int rounds = 9;
constexpr double linear = 1.25; // what noise may add to a ratio of 1

using Lockout = LocalPolicyLockoutReadTask::LoginReaderRegExpHandler;
using Ageing = LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler;

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

/// Lines as login.defs has them: comments, other settings, and each tenth an ageing setting.
QByteArray loginDefs(int lines)
{
    static const QByteArray kinds[] = {"# The maximum number of days a password may be used.\n",
                                       "\n",
                                       "UMASK\t\t022\n",
                                       "PASS_MAX_DAYS\t99999\n",
                                       "#PASS_MIN_DAYS 4\n",
                                       "ENCRYPT_METHOD SHA512\n",
                                       "LOGIN_RETRIES\t\t5 # tries\n",
                                       "  UID_MIN 1000\n",
                                       "# Min/max values for automatic uid selection in useradd\n",
                                       "MAIL_DIR /var/mail\n"};
    QByteArray content;
    for (int i = 0; i < lines; ++i) {
        content += kinds[i % 10];
    }
    return content;
}

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
    write(path, content);
    const QString script = QStringLiteral(
        "s/^([^#]*[[:space:]])?(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)[[:space:]]*(-?[0-9]+).*/\\2=\\3/p");
    const Medians medians = measure(
        rounds,
        [&path] {
            run(QStringLiteral(WALK), {path});
        },
        [&path, &script] {
            run(QStringLiteral("sed"), {QStringLiteral("-n"), QStringLiteral("-E"), script, path});
        });
    printRow(name, medians, limit);
}

void growWithLines(const QString &path)
{
    constexpr int base = 100000;
    write(path, loginDefs(base));
    const double baseTime = walk<Ageing>(path);
    for (const int factor : {1, 2, 5, 10}) {
        write(path, loginDefs(base * factor));
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
    write(path, line(base));
    const double baseTime = walk<Handler>(path);
    for (const int factor : {2, 4, 10}) {
        write(path, line(base * factor));
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
