// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PolicyWrite.h"

#include "client/preview/MachineCopy.h"
#include "policies/faillock/RootLocking.h"
#include "policies/modules/ModuleReading.h"
#include "service/BusTypes.h"
#include "service/ForceName.h"
#include "service/JournalEntry.h"

#include <QDBusArgument>
#include <QDir>

#include <limits>

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
    const QString invalid = policy.faultIn(*taken);
    if (!invalid.isEmpty()) {
        *fault = Answer::failure(invalidValueError, invalid);
    }
    return invalid.isEmpty();
}

bool takeOptions(const QVariantMap &options, PolicyWrite *write, Answer *fault)
{
    write->options = options;
    write->wish.profiles = ModuleWish::Switch::Stay;
    for (auto option = options.begin(); option != options.end(); ++option) {
        const bool isSet = option.value().toBool();
        if (option.value().userType() != QMetaType::Bool) {
            *fault = Answer::failure(invalidOptionError,
                                     QStringLiteral("options are booleans: merge, on, force, lock-root"));
            return false;
        }
        if (option.key() == QLatin1String("merge")) {
            write->merges = isSet;
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

/// With what is to stay of the values that stand there now; none, and says why, if they can't be read.
std::optional<ModuleWish> wholeWish(const PolicyWrite &write, const QString &root, Answer *fault)
{
    if (!write.merges) {
        return write.wish;
    }
    const ModuleReading reading = readModule(*write.policy, root);
    if (!reading.error.isEmpty()) {
        *fault = Answer::failure(failedError, reading.error);
        return {};
    }
    ModuleWish whole = write.wish;
    for (auto value = reading.values.begin(); value != reading.values.end(); ++value) {
        if (!whole.values.contains(value.key())) {
            whole.values.insert(value.key(), value.value());
        }
    }
    return whole;
}

/// Whether the policy is in force after a write that succeeds; other lines than ours go on calling the module.
bool isInForceAfter(const ModuleWish &wish, ModuleForce before)
{
    const bool mayBeOff = wish.profiles == ModuleWish::Switch::Off && before == ModuleForce::OurProfiles;
    return wish.profiles == ModuleWish::Switch::On || (before != ModuleForce::None && !mayBeOff);
}

bool locksRootNewly(const ModuleWish &wish, const ModuleReading &before)
{
    const bool hasBeenLocked = before.force != ModuleForce::None && locksRoot(before.values);
    return !hasBeenLocked && isInForceAfter(wish, before.force) && locksRoot(wish.values);
}

/**
 * What is refused whatever polkit says; no error if nothing is.
 *
 * Root makes files in the folder of failed logins that belong to the accounts: whoever chooses it could put one of his own
 * wherever root believes what stands in a file.
 */
Answer objectionTo(const PolicyWrite &write, const ModuleWish &whole, const ModuleReading &before, const Caller &caller)
{
    for (const ModuleSetting &setting : write.policy->settings) {
        const bool changes = before.values.value(setting.name) != whole.values.value(setting.name);
        if (setting.kind == ModuleSetting::Kind::Path && changes && caller.user != 0) {
            return Answer::failure(rootOnlyError, QStringLiteral("only root may change %1").arg(setting.name));
        }
    }
    if (!write.mayLockRoot && !whole.force && locksRootNewly(whole, before)) {
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
    Answer answer;
    const std::optional<ModuleWish> wish = wholeWish(write, QString(), &answer);
    if (!wish) {
        return answer;
    }
    entry->after = wish->values;
    answer = objectionTo(write, *wish, before, caller);
    if (!answer.error.isEmpty()) {
        return answer;
    }
    const ModuleOutcome outcome = writeModule(*write.policy, *wish);
    answer = answerOf(outcome);
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
    MachineCopy copy;
    const QStringList folders = modulePolicyFolders();
    copy.takeFile(write.policy->path);
    for (const QString &folder : folders) {
        copy.takeFolder(folder, QStringLiteral("*"));
    }
    copy.takeDebconf();
    if (!copy.error().isEmpty()) {
        return Answer::failure(failedError, copy.error());
    }
    // a write makes the last folder of it alone
    QDir().mkpath(copy.root() + QFileInfo(write.policy->path).path());
    Answer answer;
    const std::optional<ModuleWish> wish = wholeWish(write, copy.root(), &answer);
    if (!wish) {
        return answer;
    }
    const ModuleOutcome outcome =
        writeModule(*write.policy, *wish, {copy.root(), copy.onCopies(ModulePlace::pamAuthUpdateAlone())});
    if (!outcome.succeeded()) {
        return Answer::failure(errorOf(outcome.kind), copy.aboutMachine(outcome.reason));
    }
    QStringList paths{write.policy->path};
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
