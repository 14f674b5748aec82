// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the actions cost over the bus, beside an action that does nothing and the bare commands.

#include "HelperId.h"
#include "bench/Measuring.h"
#include "engine/ProcessStart.h"

#include <KAuth/Action>
#include <KAuth/ExecuteJob>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QProcess>
#include <QTextStream>
#include <QThread>

#include <csignal>

namespace
{
constexpr int timeLimit = 60000; // ms

constexpr double actionLimit = 1.10;
constexpr double expirationWriteLimit = 1.25;

void call(const char *helper, const char *name, const QVariantMap &arguments = {})
{
    const QString id = QLatin1String(helper);
    KAuth::Action action(id + QLatin1Char('.') + QLatin1String(name));
    action.setHelperId(id);
    action.setArguments(arguments);
    action.setTimeout(timeLimit);
    KAuth::ExecuteJob *job = action.execute();
    if (!job->exec() || job->data().contains(QStringLiteral("error"))) {
        qFatal("%s failed: %s",
               name,
               qPrintable(job->errorText() + job->data().value(QStringLiteral("message")).toString()));
    }
}

void callNothing()
{
    call(EMPTY_HELPER_ID, "nothing");
}

void end(const char *helper)
{
    QDBusConnectionInterface *bus = QDBusConnection::systemBus().interface();
    const QString name = QLatin1String(helper);
    const QDBusReply<uint> process = bus->servicePid(name);
    if (!process.isValid()) {
        return;
    }
    kill(static_cast<pid_t>(process.value()), SIGTERM);
    while (bus->isServiceRegistered(name)) {
        QThread::msleep(1);
    }
}

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    keepStartLimited(&process);
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForStarted() || !process.waitForFinished() || process.exitCode() != 0) {
        qFatal("%s failed", qPrintable(program));
    }
}

void copyTwice(const QString &file)
{
    const QStringList options{QStringLiteral("--force"), QStringLiteral("--preserve=mode,ownership")};
    const QString temporary = file + QStringLiteral(".tmp");
    run(QStringLiteral("cp"), options + QStringList{file, temporary});
    run(QStringLiteral("cp"), options + QStringList{temporary, file});
    QFile::remove(temporary);
}

void barePamWrite(const QString &profile)
{
    copyTwice(profile);
    run(QStringLiteral("/usr/sbin/pam-auth-update"), {QStringLiteral("--force"), QStringLiteral("--package")});
    callNothing();
}

void bareExpirationWrite()
{
    copyTwice(QStringLiteral("/etc/login.defs"));
    copyTwice(QStringLiteral("/etc/default/useradd"));
    callNothing();
}

void measureReads(int rounds)
{
    printHeading(QStringLiteral("A read on a running helper (other: an action that does nothing)"));
    for (const char *action :
         {"readaccountslockoutpolicy", "readpasswordcomplexitypolicy", "readpasswordexpirationpolicy"}) {
        const auto ours = [action] {
            call(helperId, action);
        };
        ours();
        callNothing();
        printRow(QLatin1String(action), measure(rounds, ours, callNothing), actionLimit);
    }
}

void measureFirstCalls(int rounds)
{
    printHeading(
        QStringLiteral("A first call, which starts the helper (other: the same of a helper that does nothing)"));
    for (const char *action :
         {"readaccountslockoutpolicy", "readpasswordcomplexitypolicy", "readpasswordexpirationpolicy"}) {
        const Medians medians = measure(
            rounds,
            [action] {
                call(helperId, action);
            },
            callNothing,
            [] {
                end(helperId);
            },
            [] {
                end(EMPTY_HELPER_ID);
            });
        printRow(QLatin1String(action), medians, actionLimit);
    }
}

void writeLockout()
{
    call(helperId, "writeaccountslockoutpolicy", {{QStringLiteral("deny"), 5}, {QStringLiteral("unlock_time"), 900}});
}

void writeComplexity()
{
    call(helperId, "writepasswordcomplexitypolicy", {{QStringLiteral("minlen"), 12}, {QStringLiteral("dcredit"), -1}});
}

void writeExpiration()
{
    call(helperId,
         "writepasswordexpirationpolicy",
         {{QStringLiteral("maxInterval"), 90},
          {QStringLiteral("minInterval"), 1},
          {QStringLiteral("warningInterval"), 14},
          {QStringLiteral("inactiveInterval"), 30},
          {QStringLiteral("expireDate"), 24000}});
}

void measureWrites(int rounds)
{
    printHeading(
        QStringLiteral("A write (other: the same commands from a trivial program, and an action that does nothing)"));
    const auto bareLockout = [] {
        barePamWrite(QStringLiteral("/usr/share/pam-configs/tally"));
    };
    const auto bareComplexity = [] {
        barePamWrite(QStringLiteral("/usr/share/pam-configs/pwquality"));
    };
    writeLockout();
    writeComplexity();
    printRow(QStringLiteral("writeaccountslockoutpolicy"), measure(rounds, writeLockout, bareLockout), actionLimit);
    printRow(
        QStringLiteral("writepasswordcomplexitypolicy"), measure(rounds, writeComplexity, bareComplexity), actionLimit);
    printRow(QStringLiteral("writepasswordexpirationpolicy"),
             measure(rounds * 10, writeExpiration, bareExpirationWrite),
             expirationWriteLimit);
}

/// For a program: the milliseconds of an action that does nothing and of each write.
void printWholeActions(int rounds)
{
    const QVector<Work> actions{callNothing, writeLockout, writeComplexity, writeExpiration};
    for (const Work &action : actions) {
        action();
    }
    const QVector<double> medians = measureInTurn(rounds, actions);
    QTextStream(stdout) << QStringLiteral("nothing %1\nlockout %2\ncomplexity %3\nexpiration %4\n")
                               .arg(medians[0])
                               .arg(medians[1])
                               .arg(medians[2])
                               .arg(medians[3]);
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(QStringLiteral("--whole-actions"))) {
        printWholeActions(40);
        return 0;
    }
    measureReads(1000);
    measureFirstCalls(40);
    measureWrites(40);
    return rowsAboveLimit() == 0 ? 0 : 1;
}
