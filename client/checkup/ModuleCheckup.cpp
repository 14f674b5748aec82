// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/checkup/ModuleCheckup.h"

#include "client/Translation.h"
#include "client/effective/PolicyInForce.h"
#include "client/settings/SettingText.h"
#include "client/stores/ModuleStore.h"
#include "client/stores/PolicyAccess.h"
#include "policies/modules/ModuleReading.h"
#include "policies/pam/PamPolicy.h"

#include <QFile>

namespace
{
/// Why the policy can't be switched on; none if it can.
QVector<Finding> hindrances(const ModulePolicy &module)
{
    if (pamModulePath(module.module).isEmpty()) {
        return {Finding::note(translate("ModuleCheckup", "the %1 policy cannot come into force: %2.so is not installed")
                                  .arg(module.name, module.module),
                              translate("ModuleCheckup", "install the module, or do without this policy"))};
    }
    for (const QString &profile : module.profiles) {
        const QString path = pamProfilesFolder() + QLatin1Char('/') + profile;
        if (!QFile::exists(path)) {
            return {
                Finding::note(translate("ModuleCheckup", "the %1 policy cannot be switched on: there is no profile %2")
                                  .arg(module.name, path),
                              translate("ModuleCheckup", "apt install --reinstall accountpolicies-common"))};
        }
    }
    return {};
}

/// What the policy's own file has and something else overrides.
QVector<Finding> overridden(const Policy &policy, const Settings &read, const InForce &inForce)
{
    QVector<Finding> findings;
    const QStringList obstacles = compare(policy.schema, inForce, read, read).obstacles;
    for (const QString &obstacle : obstacles) {
        findings +=
            Finding::note(translate("ModuleCheckup", "the %1 policy: %2").arg(policy.name, obstacle),
                          translate("ModuleCheckup", "accountpolicyctl show %1 has what is in force").arg(policy.name));
    }
    return findings;
}

/// Lines that call the module, but not for all that the policy takes.
QVector<Finding> halfMade(const Policy &policy, const Settings &read)
{
    QVector<Finding> findings;
    const QStringList remarks = inForceOf(policy, read).remarks;
    for (const QString &remark : remarks) {
        findings += Finding::note(translate("ModuleCheckup", "the %1 policy: %2").arg(policy.name, remark),
                                  translate("ModuleCheckup", "take that line out, or add what is missing"));
    }
    return findings;
}

QVector<Finding> checkModule(const Policy &policy)
{
    QVector<Finding> findings = hindrances(*modulePolicy(policy.name));
    PolicyAccess access(false);
    const Reading reading = ModuleStore(policy, &access).read();
    if (!findings.isEmpty() || !reading.outcome.succeeded()) {
        return findings.isEmpty()
            ? QVector<Finding>{Finding::note(reading.outcome.error, translate("ModuleCheckup", "mend it there"))}
            : findings;
    }
    if (isOff(policy.schema, reading.settings)) {
        const bool isCalled = !readModule(*modulePolicy(policy.name)).lines.isEmpty();
        return isCalled
            ? halfMade(policy, reading.settings)
            : QVector<Finding>{Finding::good(translate("ModuleCheckup", "%1: switched off").arg(policy.name))};
    }
    const InForce inForce = inForceOf(policy, reading.settings);
    findings = overridden(policy, reading.settings, inForce);
    if (inForce.isEnforced && findings.isEmpty()) {
        findings += Finding::good(translate("ModuleCheckup", "%1: in force").arg(policy.name));
    }
    return findings;
}
}

QVector<Finding> checkModules()
{
    QVector<Finding> findings;
    for (const Policy &policy : allPolicies()) {
        if (policy.isOfModule()) {
            findings += checkModule(policy);
        }
    }
    return findings;
}
