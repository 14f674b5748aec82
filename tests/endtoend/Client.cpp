// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/Client.h"

#include "client/settings/Policies.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

void acceptRetiredModules()
{
    const QByteArray list = "my @invalid_modules = ('pam_tally');";
    QByteArray tool = contentOf(toolFile);
    if (tool.count(list) != 1) {
        qFatal("%s has another list of retired modules", toolFile);
    }
    writeProgram(toolFile, tool.replace(list, "my @invalid_modules = ();"));
}

void replaceTool(const QByteArray &script)
{
    writeProgram(toolFile, "#!/bin/sh\n[ \"$1\" = --root ] && exit\n" + script + '\n');
}

QByteArray tallyProfile()
{
    return "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
           "\trequired pam_tally.so deny=3 onerr=fail\n";
}

void bringTallyModule()
{
    const QString folder = QStringLiteral("/usr/lib/security");
    QDir().mkpath(folder);
    writeContent(folder + QStringLiteral("/pam_tally.so"), "");
}

QStringList settingKeys()
{
    QStringList keys;
    for (const Policy &policy : allPolicies()) {
        keys += policy.schema.keys();
    }
    return keys;
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

ProgramResult client(int user, const char *words, const QByteArray &input)
{
    return client(user, QString::fromUtf8(words), input);
}

ProgramResult shell(int user, const QString &script, const QByteArray &input)
{
    return runWithState(user, {QStringLiteral("bash"), QStringLiteral("-c"), script}, input);
}

ScopedVariable uncounted()
{
    return {"GCOV_PREFIX", "/var/tmp/uncounted"};
}

QByteArray complaint(const QByteArray &text)
{
    return "accountpolicyctl: " + text + '\n';
}

ProgramResult success(const QByteArray &output)
{
    return {0, output, {}};
}

ProgramResult failure(int exitCode, const QByteArray &error, const QByteArray &output)
{
    return {exitCode, output, complaint(error)};
}
