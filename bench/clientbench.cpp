// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as a whole process, beside the least that a KAuth client can be, and beside augtool(1).

#include "bench/Measuring.h"

#include <QCoreApplication>
#include <QProcess>

namespace
{
constexpr double clientLimit = 1.15;
constexpr double augtoolLimit = 0.125;

void run(const QString &program, const QStringList &arguments, const QByteArray &input = QByteArray())
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0 || process.exitStatus() != QProcess::NormalExit) {
        qFatal("%s failed: %s", qPrintable(program), process.readAllStandardError().constData());
    }
}

void show()
{
    run(QStringLiteral("accountpolicyctl"), {QStringLiteral("show")});
}

void makeEmptyActions()
{
    run(QStringLiteral(EMPTY_CLIENT), {});
}

/// The same values, through the lenses that it loads by default.
void readByAugtool()
{
    run(QStringLiteral("augtool"),
        {},
        "print /files/etc/pam.d/common-auth\n"
        "print /files/etc/pam.d/common-password\n"
        "get /files/etc/login.defs/PASS_MAX_DAYS\n"
        "get /files/etc/login.defs/PASS_MIN_DAYS\n"
        "get /files/etc/login.defs/PASS_WARN_AGE\n"
        "get /files/etc/default/useradd/INACTIVE\n"
        "get /files/etc/default/useradd/EXPIRE\n");
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    printHeading(QStringLiteral("accountpolicyctl show, whole process on a running helper"));
    show();
    makeEmptyActions();
    printRow(QStringLiteral("beside three actions that do nothing"), measure(200, show, makeEmptyActions), clientLimit);
    printRow(QStringLiteral("beside augtool, default lenses"), measure(20, show, readByAugtool), augtoolLimit);
    return rowsAboveLimit() == 0 ? 0 : 1;
}
