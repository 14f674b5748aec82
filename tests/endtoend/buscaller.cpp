// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A caller of one action: takes the action's name and arguments from standard input and writes what KAuth answered to
// standard output, with all types (QDataStream). A process of its own for each call, as callers are.

#include "HelperId.h"

#include <KAuth/Action>
#include <KAuth/ExecuteJob>

#include <QCoreApplication>
#include <QDataStream>
#include <QFile>

#include <cstdlib>

namespace
{
constexpr int timeLimit = 100000; // ms
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);

    QFile input;
    QString name;
    QVariantMap arguments;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return 1;
    }
    QDataStream request(input.readAll());
    request >> name >> arguments;

    const QString helper = QLatin1String(helperId);
    KAuth::Action action(helper + QLatin1Char('.') + name);
    action.setHelperId(helper);
    action.setArguments(arguments);
    action.setTimeout(timeLimit);
    KAuth::ExecuteJob *job = action.execute();
    job->exec();

    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly)) {
        return 1;
    }
    QDataStream answer(&output);
    answer << job->error() << job->errorText() << job->data();
    output.flush();
    // without tearing anything down: the answer is complete, and the bus connection's thread may still be at work
    std::_Exit(0);
}
