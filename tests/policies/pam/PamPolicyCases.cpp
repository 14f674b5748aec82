// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/PamPolicyCases.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "policies/lockout/LockoutPolicy.h"
#include "tests/policies/pam/PamSystem.h"

namespace
{
template<typename Task>
std::unique_ptr<ElementTask> newTask()
{
    return std::make_unique<Task>(nullptr);
}

template<typename Task>
std::unique_ptr<ElementTask> newTaskWith(const QVariantMap &arguments)
{
    return std::make_unique<Task>(nullptr, new QVariantMap(arguments));
}

template<typename Task>
std::unique_ptr<PamOptionReader> newReader(QVariantMap *values)
{
    return std::make_unique<typename Task::LoginReaderRegExpHandler>(values);
}

template<typename Task>
std::unique_ptr<PamOptionRewriter> newRewriter(const QVariantMap *arguments)
{
    return std::make_unique<typename Task::LoginRewriterRegExpHandler>(arguments);
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

PamPolicyCase complexity(const char *module, const char *profile)
{
    return {module,
            QLatin1String(profile),
            QStringLiteral("common-password"),
            words("gecoscheck enforce_for_root reject_username"),
            words("minlen lcredit ucredit dcredit ocredit"),
            &complexityPolicy(),
            {QStringLiteral(R"((?:.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"),
             QStringLiteral(R"((.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"),
             QStringLiteral(
                 R"((reject_username|gecoscheck|enforce_for_root|minlen|lcredit|ucredit|dcredit|ocredit)=?(-?\d+)?)"),
             QStringLiteral(R"((pam_cracklib|pam_pwquality)\.so)")},
            "LocalPolicyPasswordComplexityUpdateTask",
            newTask<LocalPolicyPasswordComplexityReadTask>,
            newTaskWith<LocalPolicyPasswordComplexityUpdateTask>,
            newReader<LocalPolicyPasswordComplexityReadTask>,
            newRewriter<LocalPolicyPasswordComplexityUpdateTask>};
}
}

const QVector<PamPolicyCase> &pamPolicyCases()
{
    static const QVector<PamPolicyCase> cases{
        {"pam_tally",
         QStringLiteral("tally"),
         QStringLiteral("common-auth"),
         words("per_user magic_root no_reset"),
         words("deny lock_time unlock_time"),
         &lockoutPolicy(),
         {QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))"),
          QStringLiteral(R"((\s*.*pam_tally\.so)((?:\s+\S+)*))"),
          QStringLiteral(R"((per_user|magic_root|no_reset|deny|lock_time|unlock_time)=?(\d+)?)"),
          QStringLiteral(R"(pam_tally\.so)")},
         "LocalPolicyLockoutUpdateTask",
         newTask<LocalPolicyLockoutReadTask>,
         newTaskWith<LocalPolicyLockoutUpdateTask>,
         newReader<LocalPolicyLockoutReadTask>,
         newRewriter<LocalPolicyLockoutUpdateTask>},
        complexity("pam_cracklib", "cracklib"),
        complexity("pam_pwquality", "pwquality"),
    };
    return cases;
}

QString PamPolicyCase::profile() const
{
    return PamSystem::profile(profileName);
}

QString PamPolicyCase::stack() const
{
    return PamSystem::stack(stackName);
}

QByteArray PamPolicyCase::filled(QByteArray text) const
{
    const QPair<QByteArray, QByteArray> names[] = {{"{module}", base + ".so"},
                                                   {"{base}", base},
                                                   {"{flag}", flags.first().toLatin1()},
                                                   {"{flag2}", flags.last().toLatin1()},
                                                   {"{number}", numbers.first().toLatin1()},
                                                   {"{number2}", numbers.last().toLatin1()}};
    for (const auto &[name, value] : names) {
        text.replace(name, value).replace(name.toUpper(), value.toUpper());
    }
    return text;
}

QVariantMap PamPolicyCase::filled(const QVariantMap &map) const
{
    QVariantMap result;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        result.insert(QString::fromLatin1(filled(entry.key().toLatin1())), entry.value());
    }
    return result;
}

QVariantMap PamPolicyCase::withFlags(const QVariantMap &found) const
{
    QVariantMap result = values(false, QVariant());
    for (const QString &number : numbers) {
        result.remove(number);
    }
    result.insert(filled(found));
    return result;
}

QByteArray PamPolicyCase::options(bool areFlagsSet, const QByteArray &number) const
{
    QByteArray result;
    for (const QString &flag : areFlagsSet ? flags : QStringList()) {
        result += ' ' + flag.toLatin1();
    }
    for (const QString &name : number.isEmpty() ? QStringList() : numbers) {
        result += ' ' + name.toLatin1() + '=' + number;
    }
    return result;
}

QVariantMap PamPolicyCase::values(const QVariant &flag, const QVariant &number) const
{
    QVariantMap result;
    for (const QString &name : flags) {
        result.insert(name, flag);
    }
    for (const QString &name : numbers) {
        result.insert(name, number);
    }
    return result;
}

void addPamPolicies()
{
    QTest::addColumn<const PamPolicyCase *>("policy");
    for (const PamPolicyCase &policy : pamPolicyCases()) {
        QTest::newRow(policy.base.constData()) << &policy;
    }
}

const PamPolicyCase &testedPolicy()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    return *policy;
}
