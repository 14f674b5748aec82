// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"

#include "engine/FileReading.h"

namespace
{
const PamReadTable &complexityReadTable()
{
    static const PamReadTable table{
        QStringLiteral(R"((?:.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"),
        2,
        {"pam_cracklib.so", "pam_pwquality.so"},
        QStringLiteral(
            R"((reject_username|gecoscheck|enforce_for_root|minlen|lcredit|ucredit|dcredit|ocredit)=?(-?\d+)?)"),
        {QStringLiteral("enforce_for_root"), QStringLiteral("gecoscheck"), QStringLiteral("reject_username")},
    };
    return table;
}
}

LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler::LoginReaderRegExpHandler(QVariantMap *values)
    : PamOptionReader(complexityReadTable(), values)
{
}

LocalPolicyPasswordComplexityReadTask::LocalPolicyPasswordComplexityReadTask(void *context)
    : ReadPropertyHeavyTask(context)
{
    setValues(new QVariantMap);
    result().setDescription(tr("Read default password complexity policy"));
}

void LocalPolicyPasswordComplexityReadTask::run()
{
    read();
    finish();
}

void LocalPolicyPasswordComplexityReadTask::read()
{
    const QString stack = QStringLiteral("/etc/pam.d/common-password");
    LoginReaderRegExpHandler handler(values());
    QString message;
    if (!readFile(stack, &handler, &message)) {
        result().fail(message);
        return;
    }
    if (!handler.found()) {
        // both names inside one pair of quotes: callers know the text so
        result().fail(tr("\"%1\" not contain \"pam_cracklib or pam_pwquality\"").arg(stack));
        return;
    }
    result().succeed(message);
}
