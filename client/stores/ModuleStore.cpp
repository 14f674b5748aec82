// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/ModuleStore.h"

#include "client/Translation.h"
#include "client/effective/PolicyInForce.h"
#include "client/preview/ModulePreview.h"
#include "client/stores/ModuleAccess.h"
#include "client/stores/PolicyAccess.h"
#include "policies/faillock/RootLocking.h"
#include "policies/modules/ModuleReading.h"

namespace
{
bool hasRootLocked(const Settings &settings)
{
    return settings.value(enabledKey()).toBool() && locksRoot(settings);
}
}

ModuleStore::ModuleStore(const Policy &policy, PolicyAccess *access)
    : m_policy(policy), m_module(*modulePolicy(policy.name)), m_access(access)
{
}

StoreName ModuleStore::name() const
{
    return {StoreName::Kind::Policy, m_policy.name};
}

QString ModuleStore::phrase() const
{
    return m_policy.phrase();
}

const SettingSchema &ModuleStore::schema() const
{
    return m_policy.schema;
}

Reading ModuleStore::read()
{
    m_read.reset();
    const ModuleReading reading = readModule(m_module);
    if (!reading.error.isEmpty()) {
        return {{ExitCode::Failed, readFailure(reading.error)}, {}};
    }
    QVariantMap values = reading.values;
    values.insert(enabledKey(), reading.force != ModuleForce::None);
    m_read = normalized(m_policy.schema, values);
    return {{}, *m_read};
}

bool ModuleStore::mayBeWritable() const
{
    return !m_access->isServiceBarred();
}

Outcome ModuleStore::write(const Settings &settings)
{
    Outcome outcome = ModuleAccess(m_access).write(m_module, wishFor(settings));
    return m_access->isServiceBarred() ? outcome : told(outcome);
}

InForce ModuleStore::inForce(const Settings &read) const
{
    return inForceOf(m_policy, read);
}

QString ModuleStore::obstacle() const
{
    return pamModulePath(m_module.module).isEmpty()
        ? translate("ModuleStore", "its module %1.so is not installed").arg(m_module.module)
        : QString();
}

Preview ModuleStore::preview(const Settings &settings) const
{
    Preview preview = modulePreviewOf(m_module, wishFor(settings));
    preview.outcome = told(preview.outcome);
    return preview;
}

QString ModuleStore::danger(const Settings &before, const Settings &wanted) const
{
    return hasRootLocked(wanted) && !hasRootLocked(before)
        ? translate("ModuleStore", "root is locked too: whoever fails to log in as root often enough keeps root out")
        : QString();
}

/// A line's options go with the line.
bool ModuleStore::keepsSettingsWhenOff() const
{
    return moduleReadsFile(m_module);
}

bool ModuleStore::keepsOthersChanges() const
{
    return m_read.has_value();
}

ModuleWish ModuleStore::wishFor(const Settings &settings) const
{
    using Switch = ModuleWish::Switch;
    const bool isOn = settings.value(enabledKey()).toBool();
    ModuleWish wish;
    wish.profiles = !m_policy.schema.find(enabledKey()) ? Switch::Stay : isOn ? Switch::On : Switch::Off;
    wish.force = m_access->mayForce();
    wish.merges = m_read.has_value();
    const auto changed = differingKeys(m_policy.schema, m_read.value_or(Settings()), settings);
    for (const QString &key : changed) {
        if (settings.contains(key)) {
            wish.values.insert(key, settings.value(key));
        } else {
            wish.unset += key;
        }
    }
    wish.values.remove(enabledKey());
    return wish;
}

Outcome ModuleStore::told(Outcome outcome) const
{
    switch (outcome.code) {
    case ExitCode::Failed:
        outcome.error = writeFailure(outcome.error);
        break;
    case ExitCode::Busy:
        // one that has not answered in time may still carry it out
        outcome.error = outcome.mayHappen ? outcome.error : writeFailure(outcome.error);
        break;
    case ExitCode::Loss:
        outcome.error = translate("ModuleStore", "%1 is left as it is: %2; --force makes them anew, as shown")
                            .arg(phrase(), outcome.error);
        break;
    case ExitCode::NotInForce:
        outcome.error =
            translate("ModuleStore", "%1 cannot be switched off").arg(phrase()) + QLatin1Char('\n') + outcome.error;
        break;
    default:
        break;
    }
    return outcome;
}
