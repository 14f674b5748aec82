// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/PolicyInForce.h"

#include "client/Translation.h"
#include "client/effective/Enforcement.h"
#include "client/effective/Faillock.h"
#include "client/effective/ModuleInForce.h"
#include "client/effective/PamLine.h"
#include "client/effective/Pwquality.h"
#include "client/system/PamFiles.h"
#include "policies/expiration/ExpirationFiles.h"
#include "policies/modules/ModulePolicy.h"

#include <QFile>

#include <algorithm>

namespace
{
QString pwqualityModule()
{
    return QStringLiteral("pam_pwquality");
}

QString cracklibModule()
{
    return QStringLiteral("pam_cracklib");
}

/// Just as it was read: a value that is set comes from the file.
InForce asRead(const SettingSchema &schema, const Settings &read, const Origin &origin)
{
    InForce inForce;
    inForce.settings = read;
    for (const Setting &setting : schema.settings) {
        if (isSet(setting, read.value(setting.key))) {
            inForce.origins.insert(setting.key, origin);
        }
    }
    return inForce;
}

/// What the module calls a setting of the policy.
QString pwqualityName(const QString &key)
{
    return key == QLatin1String("reject_username") ? QStringLiteral("usercheck") : key;
}

/// What keeps weak passwords from being refused, a sentence each.
QStringList pwqualityRemarks(const PwqualityRules &rules, const QString &stack, const PamLine &line)
{
    QStringList remarks;
    const BindingSetting enforcing = rules.find(QStringLiteral("enforcing"));
    if (enforcing.value.toLongLong() == 0) {
        remarks += translate("PolicyInForce", "weak passwords are not refused: enforcing = 0 in %1")
                       .arg(originText(enforcing.origin));
    }
    const qlonglong tries = rules.find(QStringLiteral("retry")).value.toLongLong();
    return remarks + enforcementRemarks(stack, pwqualityModule(), line, tries);
}

QStringList usernameRemarks(const PwqualityRules &rules, const Settings &read)
{
    const BindingSetting usercheck = rules.find(QStringLiteral("usercheck"));
    if (!read.value(QStringLiteral("reject_username")).toBool() || usercheck.value.toLongLong() != 0) {
        return {};
    }
    return {translate("PolicyInForce", "reject_username does nothing: usercheck = 0 in %1")
                .arg(originText(usercheck.origin))};
}

void addSetting(const Setting &setting, const BindingSetting &rule, InForce *inForce)
{
    const bool isFlag = setting.kind == SettingKind::Flag || setting.kind == SettingKind::Switch;
    inForce->settings.insert(setting.key, isFlag ? rule.value.toLongLong() != 0 : rule.value);
    inForce->origins.insert(setting.key, rule.origin);
}

/// The numbers of the policy's own file that the module raises.
QStringList raisedKeys(const InForce &inForce, const Origin &own, const Settings &read)
{
    QStringList keys;
    for (auto setting = read.cbegin(); setting != read.cend(); ++setting) {
        if (setting.value().userType() != QMetaType::Bool && inForce.origins.value(setting.key()) == own
            && inForce.settings.value(setting.key()).toLongLong() > setting.value().toLongLong()) {
            keys += setting.key();
        }
    }
    return keys;
}

/// @param own where the policy has its own settings
InForce pwqualityInForce(
    const SettingSchema &schema, const QString &stack, const PamLine &line, const Settings &read, const Origin &own)
{
    const PwqualityRules rules = pwqualityRules(stack, line.options);
    InForce inForce;
    for (const Setting &setting : schema.settings) {
        addSetting(setting, rules.find(pwqualityName(setting.key)), &inForce);
    }
    for (const BindingSetting &rule : rules.settings) {
        if (!schema.find(rule.name)) {
            inForce.others += rule;
        }
    }
    inForce.raised = raisedKeys(inForce, own, read);
    inForce.othersTitle = translate("PolicyInForce", "Further rules of pam_pwquality, which are only shown:");
    const QStringList enforcement = pwqualityRemarks(rules, stack, line);
    inForce.isEnforced = enforcement.isEmpty();
    inForce.remarks = enforcement + rules.remarks + usernameRemarks(rules, read);
    return inForce;
}

/// The module has no files: its tries, too, are in the stack.
qlonglong cracklibTries(const PamLine &line)
{
    const QString name = QStringLiteral("retry=");
    qlonglong tries = 1;
    for (const QString &option : line.options) {
        tries = option.startsWith(name) ? option.mid(name.size()).toLongLong() : tries;
    }
    return tries;
}

InForce cracklibInForce(const SettingSchema &schema, const QString &stack, const PamLine &line, const Settings &read)
{
    InForce inForce = asRead(schema, read, stack);
    inForce.remarks = enforcementRemarks(stack, cracklibModule(), line, cracklibTries(line));
    inForce.isEnforced = inForce.remarks.isEmpty();
    return inForce;
}

QStringList secondCallRemarks(const QString &stack, const QVector<PamLine> &lines)
{
    if (lines.size() < 2) {
        return {};
    }
    return {translate("PolicyInForce", "%1 calls pam_pwquality again, with rules that are not shown").arg(stack)};
}

/// How a setting is taken away where it comes from.
QString remedyFor(const QString &key, const Origin &origin, const QString &stack)
{
    if (origin != stack) {
        return translate("PolicyInForce", "take it out there");
    }
    return findPolicy(QStringLiteral("complexity"))->schema.find(key)
        ? translate("PolicyInForce", "accountpolicyctl set complexity %1= takes it out there").arg(key)
        : translate("PolicyInForce", "take it out of the line of pam_pwquality there");
}

/// The same demand on a new password as that of complexity, from the place of this policy.
InForce qualityInForce(const SettingSchema &schema, const Settings &read)
{
    const QString own = pwqualityPolicy().path;
    const QString stack = pamFilesOf(QStringLiteral("complexity"))->stack;
    const QVector<PamLine> lines = pamLines(fileContent(stack), QStringLiteral("password"), pwqualityModule());
    if (lines.isEmpty()) {
        InForce inForce = asRead(schema, read, own);
        inForce.isAvailable = !modulePath(pwqualityModule()).isEmpty();
        inForce.isEnforced = false;
        inForce.remarks +=
            translate("PolicyInForce", "weak passwords are not refused: %1 does not call pam_pwquality").arg(stack);
        return inForce;
    }
    InForce inForce = pwqualityInForce(schema, stack, lines.constFirst(), read, own);
    inForce.remarks += secondCallRemarks(stack, lines);
    inForce.flagsAreOffByDefault = true;
    for (auto origin = inForce.origins.cbegin(); origin != inForce.origins.cend(); ++origin) {
        if (!origin.value().isEmpty() && origin.value() != own) {
            inForce.remedies.insert(origin.key(), remedyFor(origin.key(), origin.value(), stack));
        }
    }
    return inForce;
}

InForce complexityInForce(const SettingSchema &schema, const PamFiles &files, const Settings &read)
{
    const QByteArray stack = fileContent(files.stack);
    const QString type = QStringLiteral("password");
    const QVector<PamLine> lines = pamLines(stack, type, pwqualityModule());
    if (!lines.isEmpty()) {
        InForce inForce = pwqualityInForce(schema, files.stack, lines.constFirst(), read, files.stack);
        inForce.remarks += secondCallRemarks(files.stack, lines);
        return inForce;
    }
    const QVector<PamLine> cracklibLines = pamLines(stack, type, cracklibModule());
    if (!cracklibLines.isEmpty()) {
        return cracklibInForce(schema, files.stack, cracklibLines.constFirst(), read);
    }
    InForce inForce;
    inForce.settings = normalized(schema, {});
    inForce.isEnforced = false;
    inForce.remarks += translate("PolicyInForce", "weak passwords are not refused: %1 calls no module that checks them")
                           .arg(files.stack);
    return inForce;
}

/// Whether a profile could bring the policy into the stack.
bool canComeIntoForce(const PamFiles &files)
{
    return std::any_of(files.profiles.begin(), files.profiles.end(), [](const PamProfile &profile) {
        return QFile::exists(profile.path()) && !modulePath(profile.module).isEmpty()
            && !isModuleRefused(profile.module);
    });
}

InForce lockoutInForce(const SettingSchema &schema, const PamFiles &files, const Settings &read)
{
    InForce inForce = asRead(schema, read, files.stack);
    const FaillockRules faillock = faillockRules();
    inForce.others = faillock.settings;
    if (faillock.locks) {
        inForce.othersTitle =
            translate("PolicyInForce", "Accounts are locked by pam_faillock, whose rules are only shown:");
    }
    if (!faillock.agree) {
        inForce.remarks +=
            translate("PolicyInForce",
                      "the lines of pam_faillock in %1 have different rules; those of the first are shown")
                .arg(files.stack);
    }
    const QString module = files.profiles.constFirst().module;
    const bool isNamed = namesModule(files.stack, module);
    const QStringList missing = isNamed ? missingRemarks(files.stack, module) : QStringList();
    inForce.remarks += missing;
    inForce.isAvailable = (isNamed && missing.isEmpty()) || canComeIntoForce(files);
    // what the stack says of a module that isn't there doesn't hold, even if another one locks accounts
    inForce.isEnforced = missing.isEmpty() && (inForce.isAvailable || faillock.locks);
    return inForce;
}

InForce expirationInForce(const SettingSchema &schema, const Settings &read)
{
    InForce inForce = asRead(schema, read, loginDefs().path);
    for (const FileSetting &setting : useraddDefaults().settings) {
        if (inForce.origins.contains(setting.key)) {
            inForce.origins.insert(setting.key, useraddDefaults().path);
        }
    }
    return inForce;
}
}

InForce inForceOf(const Policy &policy, const Settings &read)
{
    if (policy.isOfModule()) {
        return policy.name == QLatin1String("pwquality") ? qualityInForce(policy.schema, read) : moduleInForce(policy);
    }
    const PamFiles *files = pamFilesOf(policy.name);
    if (!files) {
        return expirationInForce(policy.schema, read);
    }
    return policy.name == QLatin1String("lockout") ? lockoutInForce(policy.schema, *files, read)
                                                   : complexityInForce(policy.schema, *files, read);
}

std::optional<InForce> demandInForce(const SettingSchema &schema, const Settings &complexity, const Settings &quality)
{
    const QString stack = pamFilesOf(QStringLiteral("complexity"))->stack;
    if (pamLines(fileContent(stack), QStringLiteral("password"), pwqualityModule()).isEmpty()) {
        return {};
    }
    Settings read = complexity;
    for (auto value = quality.begin(); value != quality.end(); ++value) {
        read.insert(value.key(), value.value());
    }
    return qualityInForce(schema, read);
}
