// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/ModuleInForce.h"

#include "client/Translation.h"
#include "policies/modules/ModuleFile.h"
#include "policies/modules/ModuleReading.h"

#include <algorithm>

namespace
{
/// The line by whose options the module goes; null if none calls it.
const ModuleLine *decidingLine(const ModulePolicy &module, const ModuleReading &reading)
{
    const QVector<ModuleLine>::const_iterator line =
        std::find_if(reading.lines.begin(), reading.lines.end(), [&module](const ModuleLine &candidate) {
            return module.enforcingOption.isEmpty() || candidate.options.contains(module.enforcingOption);
        });
    return line == reading.lines.end() ? nullptr : &*line;
}

/// Lays values over those that are there.
void lay(const QVariantMap &values, const Origin &origin, InForce *inForce)
{
    for (auto value = values.begin(); value != values.end(); ++value) {
        inForce->settings.insert(value.key(), value.value());
        inForce->origins.insert(value.key(), origin);
    }
}

QVariantMap defaultsOf(const ModulePolicy &module)
{
    QVariantMap values;
    for (const ModuleSetting &setting : module.settings) {
        if (setting.byDefault.isValid()) {
            values.insert(setting.name, setting.byDefault);
        }
    }
    return values;
}

void layOptions(const ModulePolicy &module, const ModuleLine &line, InForce *inForce)
{
    const QVariantMap options = moduleOptionValues(module, line.options);
    lay(options, line.path, inForce);
    for (auto option = options.begin(); option != options.end(); ++option) {
        inForce->remedies.insert(option.key(),
                                 translate("ModuleInForce", "take it out of the line of %1 there").arg(module.module));
    }
}

/// What the policy does not do while the module isn't called.
QString withoutModule(const QString &policy)
{
    return policy == QLatin1String("faillock") ? translate("ModuleInForce", "accounts are not locked")
                                               : translate("ModuleInForce", "former passwords are not refused");
}

/// The setting whose 0 makes the module do nothing.
QString decidingKey(const QString &policy)
{
    return policy == QLatin1String("faillock") ? QStringLiteral("deny") : QStringLiteral("remember");
}

/// What keeps the policy from being in force, a sentence each.
QStringList
moduleRemarks(const Policy &policy, const ModulePolicy &module, const ModuleReading &reading, const InForce &inForce)
{
    const QString effect = withoutModule(policy.name);
    if (reading.modulePath.isEmpty()) {
        return {translate("ModuleInForce", "%1: %2.so is not installed").arg(effect, module.module)};
    }
    if (reading.force == ModuleForce::None) {
        return {translate("ModuleInForce", "%1: no stack in /etc/pam.d calls %2").arg(effect, module.module)};
    }
    const QString key = decidingKey(policy.name);
    if (inForce.settings.value(key) == QVariant(0LL)) {
        return {
            translate("ModuleInForce", "%1: %2 = 0 in %3").arg(effect, key, originText(inForce.origins.value(key)))};
    }
    return {};
}
}

InForce moduleInForce(const Policy &policy)
{
    const ModulePolicy &module = *modulePolicy(policy.name);
    const ModuleReading reading = readModule(module);
    const ModuleLine *line = decidingLine(module, reading);
    InForce inForce;
    lay(defaultsOf(module), Origin(), &inForce);
    lay(reading.values, reading.source, &inForce);
    if (line && reading.source != line->path) {
        layOptions(module, *line, &inForce);
    }
    if (line && reading.force != ModuleForce::None) {
        lay({{enabledKey(), true}}, line->path, &inForce);
    }
    inForce.settings = normalized(policy.schema, inForce.settings);
    inForce.isAvailable = !reading.modulePath.isEmpty();
    inForce.remarks = moduleRemarks(policy, module, reading, inForce);
    inForce.isEnforced = inForce.remarks.isEmpty();
    if (!reading.error.isEmpty()) {
        inForce.remarks += reading.error;
    }
    return inForce;
}
