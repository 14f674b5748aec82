// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/Program.h"

#include <QProcess>

namespace
{
constexpr int timeLimit = 120000; // ms
}

ProgramResult runAs(int user, const QString &program, const QStringList &arguments, const QByteArray &input)
{
    const QString id = QString::number(user);
    const QStringList command{
        QStringLiteral("--reuid"), id, QStringLiteral("--regid"), id, QStringLiteral("--clear-groups"), program};
    QProcess process;
    process.start(QStringLiteral("setpriv"), command + arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool ended = process.waitForFinished(timeLimit) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
}
