// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/PolicyAction.h"
#include "client/PolicyArguments.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

namespace
{
enum ExitCode {
    Done = 0,
    Failed = 1,
    Usage = 2,
};

struct PolicyNames {
    const char *policy;
    const char *readAction;
    const char *writeAction;
};

constexpr PolicyNames policies[] = {
    {"lockout", "readaccountslockoutpolicy", "writeaccountslockoutpolicy"},
    {"complexity", "readpasswordcomplexitypolicy", "writepasswordcomplexitypolicy"},
    {"expiration", "readpasswordexpirationpolicy", "writepasswordexpirationpolicy"},
};

const PolicyNames *findPolicy(const QString &name)
{
    for (const PolicyNames &names : policies) {
        if (name == QLatin1String(names.policy)) {
            return &names;
        }
    }
    return nullptr;
}

int complain(ExitCode code, const QString &error)
{
    QTextStream(stderr) << "accountpolicyctl: " << error << '\n';
    return code;
}

int execute(const char *action, const QVariantMap &arguments)
{
    const PolicyReply reply = executePolicyAction(QLatin1String(action), arguments);
    if (!reply.succeeded()) {
        return complain(Failed, reply.error);
    }
    QTextStream out(stdout);
    for (auto it = reply.values.cbegin(); it != reply.values.cend(); ++it) {
        out << it.key() << '=' << it.value().toString() << '\n';
    }
    return Done;
}

int dispatch(const QStringList &words)
{
    const PolicyNames *names = findPolicy(words.value(1));
    if (words.value(0) == QLatin1String("show") && names && words.size() == 2) {
        return execute(names->readAction, {});
    }
    if (words.value(0) == QLatin1String("replace") && names) {
        QVariantMap arguments;
        const QString wrong = parsePolicyArguments(words.mid(2), &arguments);
        return wrong.isEmpty() ? execute(names->writeAction, arguments) : complain(Usage, wrong);
    }
    return complain(Usage, QStringLiteral("what is asked for is not clear; see accountpolicyctl --help"));
}
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows and replaces this machine's account policies.\n\n"
                       "  accountpolicyctl show lockout|complexity|expiration\n"
                       "  accountpolicyctl replace lockout|complexity|expiration [key=value...]\n\n"
                       "replace sets the whole policy: a setting that is not named is removed."));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("show or replace"));
    parser.addPositionalArgument(QStringLiteral("policy"), QStringLiteral("lockout, complexity or expiration"));
    parser.addPositionalArgument(
        QStringLiteral("settings"), QStringLiteral("the settings to write"), QStringLiteral("[key=value...]"));
    parser.addHelpOption();
    parser.process(application);
    return dispatch(parser.positionalArguments());
}
