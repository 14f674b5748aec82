// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/ModuleInForce.h"

#include "client/Translation.h"
#include "client/effective/Enforcement.h"
#include "client/system/PamFiles.h"
#include "policies/modules/ModuleRules.h"
#include "policies/modules/PamFaults.h"

#include <algorithm>

namespace
{
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

/// What the module goes by at the line, instead of what the policy's own place has.
void layRules(const ModulePolicy &module, const ModuleRules &rules, const ModuleLine &line, InForce *inForce)
{
    inForce->settings.clear();
    inForce->origins.clear();
    lay(defaultsOf(module), Origin(), inForce);
    for (auto value = rules.values.begin(); value != rules.values.end(); ++value) {
        const Origin origin = rules.sources.value(value.key());
        lay({{value.key(), *value}}, origin, inForce);
        if (origin == line.path) {
            inForce->remedies.insert(
                value.key(), translate("ModuleInForce", "take it out of the line of %1 there").arg(module.module));
        }
    }
}

QString lineText(const ModuleLine &line)
{
    return line.path + QLatin1Char(':') + QString::number(line.number);
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

/// Why the policy isn't in force, though there may be lines that call the module.
QString missingCall(const ModulePolicy &module, const ModuleReading &reading, const QString &effect)
{
    if (reading.lines.isEmpty()) {
        return translate("ModuleInForce", "%1: no stack in /etc/pam.d calls %2").arg(effect, module.module);
    }
    const ModuleLine &line = reading.lines.constFirst(); // those of the common stacks come first
    if (!line.isCommon) {
        return translate("ModuleInForce", "%1 in general: only %2 calls %3").arg(effect, lineText(line), module.module);
    }
    const bool isCounted = std::any_of(reading.lines.begin(), reading.lines.end(), [&](const ModuleLine &candidate) {
        return candidate.isCommon && enforces(module, candidate);
    });
    return isCounted ? translate("ModuleInForce", "%1: %2 calls %3, but none does with preauth")
                           .arg(effect, lineText(line), module.module)
                     : translate("ModuleInForce", "%1: %2 calls %3, but none does with authfail")
                           .arg(effect, lineText(line), module.module);
}

/// What all lines have to agree in; the rest is about messages.
bool isOfAllLines(const ModuleSetting &setting)
{
    static const QStringList messages{QStringLiteral("audit"),
                                      QStringLiteral("silent"),
                                      QStringLiteral("no_log_info"),
                                      QStringLiteral("nodelay"),
                                      QStringLiteral("retry")};
    return !messages.contains(setting.name);
}

/// Where another line of the common stacks goes by another value, a sentence each.
QStringList disagreements(const ModulePolicy &module, const ModuleReading &reading, const ModuleLine &deciding)
{
    const ModuleRules rules = moduleRules(module, deciding);
    QStringList sentences;
    for (const ModuleLine &line : reading.lines) {
        const ModuleRules others = line.isCommon ? moduleRules(module, line) : rules;
        for (const ModuleSetting &setting : module.settings) {
            // called for the account it does nothing but to forget what is in the folder
            const bool matters =
                enforces(module, line) || refuses(module, line) || setting.kind == ModuleSetting::Kind::Path;
            const QVariant one = rules.value(module, setting.name);
            const QVariant other = others.value(module, setting.name);
            if (matters && isOfAllLines(setting) && one != other) {
                sentences += translate("ModuleInForce", "%1 is another one at %2 than at %3, which is shown")
                                 .arg(setting.name, lineText(line), lineText(deciding));
            }
        }
    }
    return sentences;
}

/// Where the module is to read another file than the policy's.
QStringList otherFile(const ModulePolicy &module, const ModuleLine &deciding)
{
    const QString file = moduleRules(module, deciding).file;
    return file.isEmpty() || file == module.path
        ? QStringList()
        : QStringList{translate("ModuleInForce", "%1 goes by %2, not by %3: so says conf= at %4")
                          .arg(module.module, file, module.path, lineText(deciding))};
}

/// Where the lines of pam_faillock don't do together what their words promise, a sentence each.
QStringList faillockRemarks(const ModuleReading &reading)
{
    const FaillockEffect effect = faillockEffect(QString(), QStringLiteral("common-auth"));
    const bool forgets = std::any_of(reading.lines.begin(), reading.lines.end(), [](const ModuleLine &line) {
        return line.isCommon
            && (line.type == QLatin1String("account") || line.options.contains(QLatin1String("authsucc")));
    });
    QStringList remarks;
    if (!effect.keepsOut) {
        remarks +=
            translate("ModuleInForce", "locked accounts may get in: common-auth can end with success all the same");
    }
    if (!effect.counts) {
        remarks +=
            translate("ModuleInForce",
                      "failed logins do not count: common-auth ends before the line of pam_faillock with authfail");
    }
    if (!forgets) {
        remarks += translate("ModuleInForce",
                             "failed logins count on after a good one: no common stack calls pam_faillock for the "
                             "account or with authsucc");
    }
    return remarks;
}

/// The same of pam_pwhistory, which hands on no password that it has refused.
QStringList historyRemarks(const ModuleLine &deciding)
{
    const auto lines = pamLines(fileContent(deciding.path), deciding.type, pwhistoryPolicy().module);
    return lines.isEmpty() ? QStringList() : formerPasswordRemarks(deciding.path, lines.constFirst());
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
        return {missingCall(module, reading, effect)};
    }
    const ModuleLine &line = *decidingLine(module, reading);
    QStringList remarks = otherFile(module, line) + disagreements(module, reading, line)
        + (policy.name == QLatin1String("faillock") ? faillockRemarks(reading) : historyRemarks(line));
    const QString key = decidingKey(policy.name);
    if (inForce.settings.value(key) == QVariant(0LL)) {
        remarks +=
            translate("ModuleInForce", "%1: %2 = 0 in %3").arg(effect, key, originText(inForce.origins.value(key)));
    }
    return remarks;
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
    QString error = reading.error;
    if (line && line->isCommon && reading.source != line->path) {
        const ModuleRules rules = moduleRules(module, *line);
        layRules(module, rules, *line, &inForce);
        error = error.isEmpty() ? rules.error : error;
    }
    if (line && reading.force != ModuleForce::None) {
        lay({{enabledKey(), true}}, line->path, &inForce);
    }
    inForce.settings = normalized(policy.schema, inForce.settings);
    inForce.flagsAreOffByDefault = true;
    inForce.isAvailable = !reading.modulePath.isEmpty();
    inForce.remarks = moduleRemarks(policy, module, reading, inForce);
    inForce.isEnforced = inForce.remarks.isEmpty();
    if (!error.isEmpty()) {
        inForce.remarks += error;
    }
    return inForce;
}
