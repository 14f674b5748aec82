// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A program as a desktop has them: calls the helper by KAuth's own library, and prints what it is told.
//
//   kauthcaller ACTION [KEY=NUMBER]...

#include "HelperId.h"

#include <KAuth/Action>
#include <KAuth/ExecuteJob>

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    QVariantMap arguments;
    for (const QString &word : words.mid(2)) {
        arguments.insert(word.section(QLatin1Char('='), 0, 0), word.section(QLatin1Char('='), 1).toInt());
    }
    const QString helper = QLatin1String(helperId);
    KAuth::Action action(helper + QLatin1Char('.') + words.value(1));
    action.setHelperId(helper);
    action.setArguments(arguments);

    KAuth::ExecuteJob *job = action.execute();
    const bool succeeded = job->exec();

    QTextStream output(stdout);
    output << (succeeded ? QStringLiteral("done") : QStringLiteral("error %1").arg(job->error())) << '\n';
    const QVariantMap answer = job->data();
    for (auto value = answer.begin(); value != answer.end(); ++value) {
        output << value.key() << ": " << value.value().typeName() << ' ' << value.value().toString() << '\n';
    }
    return succeeded ? 0 : 1;
}
