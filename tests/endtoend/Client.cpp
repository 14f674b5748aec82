// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/Client.h"

#include "tests/support/Files.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

QString toolPath()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}

void acceptRetiredModules()
{
    const QString tool = toolPath();
    writeProgram(tool, contentOf(tool).replace("@invalid_modules = ('pam_tally')", "@invalid_modules = ()"));
}

QByteArray tallyProfile()
{
    return "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
           "\trequired pam_tally.so deny=3 onerr=fail\n";
}

QStringList splitWords(const QString &words)
{
    return words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString stateFolder(int user)
{
    return QStringLiteral("/run/state-%1").arg(user);
}

namespace
{
/// With a state folder of the account's own.
ProgramResult runWithState(int user, const QStringList &command, const QByteArray &input)
{
    const QString folder = stateFolder(user);
    QDir().mkpath(folder);
    if (chown(QFile::encodeName(folder).constData(), static_cast<uid_t>(user), static_cast<gid_t>(user)) != 0) {
        qFatal("cannot give %s away", qPrintable(folder));
    }
    const QStringList state{QStringLiteral("XDG_STATE_HOME=") + folder};
    return runAs(user, QStringLiteral("env"), state + command, input);
}
}

ProgramResult client(int user, const QString &words, const QByteArray &input)
{
    return runWithState(user, QStringList{QStringLiteral("accountpolicyctl")} + splitWords(words), input);
}

ProgramResult shell(int user, const QString &script, const QByteArray &input)
{
    return runWithState(user, {QStringLiteral("bash"), QStringLiteral("-c"), script}, input);
}
