// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/PolicyAction.h"

#include "HelperId.h"

#include <KAuth/Action>
#include <KAuth/ExecuteJob>

namespace
{
// a person types a password, and the helper may wait for two limits of 30 seconds
constexpr int timeLimit = 300000; // ms
}

bool PolicyReply::succeeded() const
{
    return error.isEmpty();
}

PolicyReply executePolicyAction(const QString &name, const QVariantMap &arguments)
{
    const QString helper = QLatin1String(helperId);
    KAuth::Action action(helper + QLatin1Char('.') + name);
    action.setHelperId(helper);
    action.setArguments(arguments);
    action.setTimeout(timeLimit);

    KAuth::ExecuteJob *job = action.execute();
    if (!job->exec()) {
        const QString reason = job->errorText().isEmpty() ? QStringLiteral("not authorized") : job->errorText();
        return {{}, QStringLiteral("%1 (error %2)").arg(reason, QString::number(job->error()))};
    }
    const QVariantMap data = job->data();
    if (data.value(QStringLiteral("error")).toBool()) {
        const QStringList texts{data.value(QStringLiteral("description")).toString(),
                                data.value(QStringLiteral("message")).toString()};
        return {data, texts.join(QLatin1Char('\n'))};
    }
    return {data, QString()};
}
