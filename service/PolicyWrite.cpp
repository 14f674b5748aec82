// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PolicyWrite.h"

#include "policies/faillock/RootLocking.h"
#include "policies/machine/ModuleTrial.h"
#include "policies/modules/ModuleReading.h"
#include "service/BusTypes.h"
#include "service/ForceName.h"
#include "service/JournalEntry.h"

#include <QDBusArgument>

#include <algorithm>
#include <limits>
#include <utility>

namespace
{
// longer than any name of a group or a folder
constexpr int mostCharacters = 4096;

bool isInteger(const QVariant &value)
{
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return true;
    case QMetaType::ULongLong:
        return value.toULongLong() <= static_cast<qulonglong>(std::numeric_limits<qlonglong>::max());
    default:
        return false;
    }
}

/// As the policies take it: numbers have one type there.
QVariant plain(const QVariant &value)
{
    return isInteger(value) ? QVariant(value.toLongLong()) : value;
}

bool isTooLong(const QVariant &value)
{
    return value.userType() == QMetaType::QString && value.toString().size() > mostCharacters;
}

bool takeValues(const ModulePolicy &policy, const QVariantMap &values, QVariantMap *taken, Answer *fault)
{
    for (auto value = values.begin(); value != values.end(); ++value) {
        if (!policy.find(value.key())) {
            *fault =
                Answer::failure(unknownSettingError,
                                QStringLiteral("%1 has no such setting: %2").arg(policy.name, value.key().left(64)));
            return false;
        }
        if (isTooLong(value.value())) {
            *fault = Answer::failure(invalidValueError, QStringLiteral("%1: too long").arg(value.key()));
            return false;
        }
        taken->insert(value.key(), plain(value.value()));
    }
    QString invalid = policy.faultIn(*taken);
    if (!invalid.isEmpty()) {
        // what stands there may be any value, and whoever writes back what he has read changes nothing in it
        invalid = policy.faultIn(freshValues(*taken, readModule(policy).values));
    }
    if (!invalid.isEmpty()) {
        *fault = Answer::failure(invalidValueError, invalid);
    }
    return invalid.isEmpty();
}

bool takeUnset(const QVariant &names, PolicyWrite *write, Answer *fault)
{
    if (names.userType() != QMetaType::QStringList) {
        *fault = Answer::failure(invalidOptionError, QStringLiteral("unset is a list of names"));
        return false;
    }
    write->wish.unset = names.toStringList();
    for (const QString &name : std::as_const(write->wish.unset)) {
        if (!write->policy->find(name)) {
            *fault =
                Answer::failure(unknownSettingError,
                                QStringLiteral("%1 has no such setting: %2").arg(write->policy->name, name.left(64)));
            return false;
        }
    }
    return true;
}

bool takeOptions(const QVariantMap &options, PolicyWrite *write, Answer *fault)
{
    write->options = options;
    write->wish.profiles = ModuleWish::Switch::Stay;
    for (auto option = options.begin(); option != options.end(); ++option) {
        if (option.key() == QLatin1String("unset")) {
            if (!takeUnset(option.value(), write, fault)) {
                return false;
            }
            continue;
        }
        const bool isSet = option.value().toBool();
        if (option.value().userType() != QMetaType::Bool) {
            *fault = Answer::failure(invalidOptionError,
                                     QStringLiteral("options are booleans: merge, on, force, lock-root"));
            return false;
        }
        if (option.key() == QLatin1String("merge")) {
            write->wish.merges = isSet;
        } else if (option.key() == QLatin1String("on")) {
            write->wish.profiles = isSet ? ModuleWish::Switch::On : ModuleWish::Switch::Off;
        } else if (option.key() == QLatin1String("force")) {
            write->wish.force = isSet;
        } else if (option.key() == QLatin1String("lock-root")) {
            write->mayLockRoot = isSet;
        } else {
            *fault =
                Answer::failure(invalidOptionError, QStringLiteral("no such option: %1").arg(option.key().left(64)));
            return false;
        }
    }
    return true;
}

/// Whether lines refuse somebody after a write that succeeds: ours, or others, which stay, also those of one service alone.
bool refusesAfter(const PolicyWrite &write, const ModuleReading &before)
{
    const bool areOursGone = write.wish.profiles == ModuleWish::Switch::Off;
    return write.wish.profiles == ModuleWish::Switch::On
        || std::any_of(before.lines.begin(), before.lines.end(), [&](const ModuleLine &line) {
               return refuses(*write.policy, line) && !(line.isOurs && areOursGone);
           });
}

bool locksRootNewly(const PolicyWrite &write, const QVariantMap &wanted, const ModuleReading &before)
{
    const bool comesIntoForce = write.wish.profiles == ModuleWish::Switch::On && before.force == ModuleForce::None;
    return locksRoot(wanted) && refusesAfter(write, before) && (comesIntoForce || !locksRoot(before.values));
}

/**
 * What is refused whatever polkit says; no error if nothing is.
 *
 * Root makes files in the folder of failed logins that belong to the accounts: whoever chooses it could put one of his own
 * wherever root believes what stands in a file.
 */
Answer
objectionTo(const PolicyWrite &write, const QVariantMap &wanted, const ModuleReading &before, const Caller &caller)
{
    for (const ModuleSetting &setting : write.policy->settings) {
        const bool changes = before.values.value(setting.name) != wanted.value(setting.name);
        if (setting.kind == ModuleSetting::Kind::Path && changes && caller.user != 0) {
            return Answer::failure(rootOnlyError, QStringLiteral("only root may change %1").arg(setting.name));
        }
    }
    if (!write.mayLockRoot && !write.wish.force && locksRootNewly(write, wanted, before)) {
        return Answer::failure(locksRootError,
                               QStringLiteral("whoever fails to log in as root often enough would keep root out"));
    }
    return {};
}

const char *errorOf(ModuleOutcome::Kind kind)
{
    switch (kind) {
    case ModuleOutcome::Kind::StacksEdited:
        return stacksEditedError;
    case ModuleOutcome::Kind::RolledBack:
        return rolledBackError;
    case ModuleOutcome::Kind::Busy:
        return busyError;
    default:
        return failedError;
    }
}

Answer answerOf(const ModuleOutcome &outcome)
{
    if (!outcome.succeeded()) {
        return Answer::failure(errorOf(outcome.kind), outcome.reason);
    }
    return {{outcome.changed, outcome.reason}, {}, {}, {}};
}

/// Empty if that can't be read.
QString forceIn(const ModuleReading &reading)
{
    return reading.error.isEmpty() ? forceName(reading.force) : QString();
}

/// Notes what was there before, and what was to be there.
Answer tryWrite(const PolicyWrite &write, const Caller &caller, JournalEntry *entry)
{
    const ModuleReading before = readModule(*write.policy);
    entry->before = before.values;
    entry->forceBefore = forceIn(before);
    entry->after = wantedValues(write.wish, before.values);
    Answer answer = objectionTo(write, entry->after, before, caller);
    if (!answer.error.isEmpty()) {
        return answer;
    }
    // what would go with it may be another action's, or nobody's but root's
    ModuleWish wish = write.wish;
    wish.force = write.wish.force && caller.user == 0;
    const ModuleOutcome outcome = writeModule(*write.policy, wish);
    answer = outcome.kind == ModuleOutcome::Kind::StacksEdited && write.wish.force
        ? Answer::failure(rootOnlyError, QStringLiteral("only root may have stacks made anew that were edited by hand"))
        : answerOf(outcome);
    if (outcome.changed) {
        answer.changedPolicy = write.policy->name;
    }
    return answer;
}
}

const ModulePolicy *policyNamed(const QString &name, Answer *fault)
{
    const ModulePolicy *policy = modulePolicy(name);
    if (!policy) {
        *fault = Answer::failure(unknownPolicyError, QStringLiteral("no such policy: %1").arg(name.left(64)));
    }
    return policy;
}

std::optional<PolicyWrite>
policyWrite(const QString &policy, const QVariantMap &values, const QVariantMap &options, Answer *fault)
{
    PolicyWrite write;
    write.policy = policyNamed(policy, fault);
    if (!write.policy || !takeValues(*write.policy, values, &write.wish.values, fault)
        || !takeOptions(options, &write, fault)) {
        return {};
    }
    return write;
}

Answer runWrite(const PolicyWrite &write, const Caller &caller)
{
    JournalEntry entry;
    entry.caller = caller;
    entry.action = QLatin1String("write-") + write.policy->name;
    entry.subject = QLatin1String("policy ") + write.policy->name;
    entry.options = write.options;
    entry.after = write.wish.values;
    Answer answer = tryWrite(write, caller, &entry);
    const bool isDone = answer.error.isEmpty();
    entry.outcome = isDone ? doneOutcome() : answer.error;
    entry.reason = isDone ? answer.values.value(1).toString() : answer.errorText;
    entry.forceNow = forceIn(readModule(*write.policy));
    writeToJournal(entry);
    return answer;
}

Answer previewWrite(const PolicyWrite &write)
{
    const ModuleTrial trial(*write.policy);
    const MachineCopy &copy = trial.copy();
    if (!copy.error().isEmpty()) {
        return Answer::failure(failedError, copy.error());
    }
    const ModuleOutcome outcome = trial.write(write.wish);
    if (!outcome.succeeded()) {
        return Answer::failure(errorOf(outcome.kind), outcome.reason);
    }
    QStringList paths{write.policy->path};
    const QStringList folders = modulePolicyFolders();
    for (const QString &folder : folders) {
        paths += copy.files(folder);
    }
    ChangedFiles files;
    const QVector<FilePreview> changes = copy.changes(paths);
    for (const FilePreview &file : changes) {
        files += ChangedFile{file.path, file.before, file.after};
    }
    return Answer::of(QVariant::fromValue(files));
}
