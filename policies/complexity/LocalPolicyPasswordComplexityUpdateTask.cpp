// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"

#include "policies/pam/PamPolicyUpdate.h"

#include <QFile>

namespace
{
// one for the whole process, as nothing of it changes from run to run
// clazy:excludeall=non-pod-global-static
// NOLINTNEXTLINE(cert-err58-cpp)
const QRegularExpression modulePattern(QStringLiteral("(pam_cracklib|pam_pwquality)\\.so"));

const PamWriteTable &complexityWriteTable()
{
    static const PamWriteTable table{
        QStringLiteral(R"((.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"),
        3,
        {"pam_cracklib.so", "pam_pwquality.so"},
        {QStringLiteral("gecoscheck"), QStringLiteral("enforce_for_root"), QStringLiteral("reject_username")},
        {QStringLiteral("minlen"),
         QStringLiteral("lcredit"),
         QStringLiteral("ucredit"),
         QStringLiteral("dcredit"),
         QStringLiteral("ocredit")},
    };
    return table;
}

constexpr CommandFailureTexts complexityCommandTexts = {
    "LocalPolicyPasswordComplexityUpdateTask",
    QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not started\""),
    QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not finished\""),
    QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask", "Process: \"%1 %2\". Exit code: %3.\n\"%4\""),
};
}

LocalPolicyPasswordComplexityUpdateTask::LoginRewriterRegExpHandler::LoginRewriterRegExpHandler(
    const QVariantMap *arguments)
    : PamOptionRewriter(complexityWriteTable(), arguments)
{
}

LocalPolicyPasswordComplexityUpdateTask::LocalPolicyPasswordComplexityUpdateTask(void *context, QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update default password complexity policy"));
}

void LocalPolicyPasswordComplexityUpdateTask::run()
{
    update();
    finish();
}

void LocalPolicyPasswordComplexityUpdateTask::update()
{
    const QString cracklib = QStringLiteral("/usr/share/pam-configs/cracklib");
    const QString pwquality = QStringLiteral("/usr/share/pam-configs/pwquality");
    QVector<PamProfile> profiles;
    if (QFile::exists(cracklib)) {
        profiles.append({cracklib, tr("\"%1\" not contain \"pam_cracklib\"").arg(cracklib)});
    }
    if (QFile::exists(pwquality)) {
        profiles.append({pwquality, tr("\"%1\" not contain \"pam_pwquality\"").arg(pwquality)});
    }
    if (profiles.isEmpty()) {
        result().fail(tr("Both profiles of supported PAM modules do not exist (%1, %2)").arg(cracklib, pwquality));
        return;
    }
    const QString minlen = QStringLiteral("minlen");
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy(
        {
            profiles,
            complexityCommandTexts,
            {QStringLiteral("/etc/pam.d/common-password"), modulePattern, minlen},
            values()->value(minlen).toInt(),
        },
        &handler,
        &result());
}
