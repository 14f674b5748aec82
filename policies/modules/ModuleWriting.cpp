// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleWriting.h"

#include "engine/FileReplacing.h"
#include "policies/modules/DebconfAnswer.h"
#include "policies/modules/FileSnapshot.h"
#include "policies/modules/ModuleFile.h"
#include "policies/modules/ModuleReading.h"
#include "policies/modules/PamFaults.h"
#include "policies/modules/PamStack.h"
#include "policies/modules/RootsFolder.h"
#include "policies/modules/WriteLock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <memory>
#include <sys/stat.h>

namespace
{
const char *const stackTypes[] = {"auth", "account", "password", "session", "session-noninteractive"};

/// The stacks that pam-auth-update(8) writes.
QStringList stacksBelow(const QString &root)
{
    QStringList stacks;
    for (const char *type : stackTypes) {
        stacks += root + QLatin1String("/etc/pam.d/common-") + QLatin1String(type);
    }
    return stacks;
}

/// What a run of it writes and that stays, but for debconf's answer: the stacks, what it keeps beside them, its records.
QStringList filesOfTool(const QString &root)
{
    const QString records = root + QLatin1String("/var/lib/pam/");
    QStringList files{records + QLatin1String("seen")};
    const auto toolsStacks = stacksBelow(root);
    for (const QString &stack : toolsStacks) {
        files += {stack, stack + QLatin1String(".pam-old"), stack + QLatin1String(".pam-new")};
    }
    for (const char *type : stackTypes) {
        files += {records + QLatin1String(type), records + QLatin1String(type) + QLatin1String(".new")};
    }
    return files;
}

/**
 * What stands where the tool writes and is no plain file: it would put one in its place, and nothing could bring the other
 * back. Empty if there is none. Copies are plain files in any case.
 */
QString otherThanPlainFile()
{
    const QStringList files = filesOfTool(QString());
    for (const QString &path : files) {
        struct stat status = {};
        if (lstat(QFile::encodeName(path).constData(), &status) == 0 && !S_ISREG(status.st_mode)) {
            return path;
        }
    }
    return {};
}

/// The values of a policy that stand on the line of its profile.
struct KeptOptions {
    const ModulePolicy *policy;
    QVariantMap values;
};

/// Whether options of our line are the policy's values that an older module had there, and that are to go into the file.
bool areOptionsOutdated(const ModulePolicy &policy, const ModuleLine &line)
{
    return policy.hadNoFile && line.isOurs && moduleReadsFile(policy)
        && !moduleOptionValues(policy, line.options).isEmpty();
}

/// What is set now: the module lays its line's options over the file.
QVariantMap presentValues(const ModulePolicy &policy, const ModuleReading &reading)
{
    QVariantMap values = reading.values;
    for (const ModuleLine &line : reading.lines) {
        const QVariantMap options =
            areOptionsOutdated(policy, line) ? moduleOptionValues(policy, line.options) : QVariantMap();
        for (auto option = options.begin(); option != options.end(); ++option) {
            values.insert(option.key(), *option);
        }
    }
    return values;
}

/// What is left of a file that can't be understood.
QByteArray commentsOf(const QByteArray &content)
{
    QByteArray comments;
    const auto lines = content.split('\n');
    for (const QByteArray &line : lines) {
        comments += line.trimmed().startsWith('#') ? line + '\n' : QByteArray();
    }
    return comments;
}

/// One write of a policy.
class ModuleWrite
{
    Q_DECLARE_TR_FUNCTIONS(ModuleWriting)

public:
    ModuleWrite(const ModulePolicy &policy, const ModuleWish &wish, const ModulePlace &place)
        : m_policy(policy)
        , m_wish(wish)
        , m_place(place)
        , m_hadFolder(QFile::exists(QFileInfo(place.root + policy.path).path()))
        , m_before(readModule(policy, place.root))
        , m_values(wantedValues(wish, presentValues(policy, m_before)))
        , m_answer(place.root, place.pamAuthUpdate.environment)
        , m_snapshot(filesOfTool(place.root) + QStringList{place.root + policy.path})
    {
    }

    ModuleOutcome run()
    {
        const QString obstacle = obstacleToAll();
        ModuleOutcome outcome = obstacle.isEmpty() ? fulfil() : failed(obstacle);
        outcome.before = m_before.values;
        outcome.wasOn = m_before.force == ModuleForce::OurProfiles;
        if (!outcome.succeeded() && obstacle.isEmpty()) {
            putBack(&outcome);
        }
        outcome.changed = obstacle.isEmpty() && m_snapshot.differs();
        return outcome;
    }

private:
    using Kind = ModuleOutcome::Kind;
    using Switch = ModuleWish::Switch;

    static ModuleOutcome ended(Kind kind, const QString &reason = QString())
    {
        ModuleOutcome outcome;
        outcome.kind = kind;
        outcome.reason = reason;
        return outcome;
    }

    static ModuleOutcome failed(const QString &reason)
    {
        return ended(Kind::Failed, reason);
    }

    void putBack(ModuleOutcome *outcome) const
    {
        QStringList problems = m_snapshot.putBack();
        problems += m_answer.putBack();
        problems.removeAll(QString());
        if (!m_hadFolder) {
            QDir().rmdir(QFileInfo(m_place.root + m_policy.path).path()); // unless there is something in it by now
        }
        if (!problems.isEmpty()) {
            outcome->kind = Kind::Failed;
            outcome->reason += QLatin1String("; ") + tr("not put back: %1").arg(problems.join(QLatin1String("; ")));
        }
    }

    /// Why nothing can be written; empty if something can.
    QString obstacleToAll() const
    {
        // what is to be replaced needs not be understood, but what can't be read can't be put back
        if (!m_before.error.isEmpty() && (m_wish.merges || !m_before.isMalformed)) {
            return m_before.error;
        }
        return m_snapshot.error().isEmpty() ? faultInChanges() : m_snapshot.error();
    }

    /// What is wrong with the values that aren't there already; what is there may be anything.
    QString faultInChanges() const
    {
        const QString fault = m_policy.faultIn(freshValues(m_wish.values, m_before.values));
        return fault.isEmpty() ? faultInFolders() : fault;
    }

    /// Why a folder that the module is to use from now on must not be the one; empty if none mustn't.
    QString faultInFolders() const
    {
        for (const ModuleSetting &setting : m_policy.settings) {
            const QString path = m_values.value(setting.name).toString();
            const bool isNew = setting.kind == ModuleSetting::Kind::Path && !path.isEmpty()
                && m_before.values.value(setting.name) != m_values.value(setting.name);
            const QString fault = isNew ? rootsFolderFault(path) : QString();
            if (!fault.isEmpty()) {
                return tr("%1 cannot be %2: %3").arg(setting.name, path, fault);
            }
        }
        return {};
    }

    ModuleOutcome fulfil()
    {
        const bool readsFile = moduleReadsFile(m_policy);
        const bool mayChangeStacks = !m_policy.profiles.isEmpty();
        const QStringList faultsBefore = mayChangeStacks ? pamFaults(m_place.root) : QStringList();
        const QStringList jumpsBefore = mayChangeStacks ? pamJumps(m_place.root) : QStringList();
        QString error;
        if (readsFile && !writeFile(&error)) {
            return failed(error);
        }
        ModuleOutcome switched = switchProfiles();
        if (!switched.succeeded()) {
            return switched;
        }
        if (readsFile ? !takeOptionsAway(&error) : !writeOptions(m_policy, m_values, &error)) {
            return failed(error);
        }
        const QString fault = freshFault(faultsBefore, jumpsBefore);
        if (!fault.isEmpty()) {
            return ended(Kind::RolledBack, fault);
        }
        return areValuesThere() ? switched : failed(tr("the values have not come out as they were written"));
    }

    /// A file that says already what is wanted keeps its bytes, and is not replaced.
    bool writeFile(QString *error) const
    {
        const QString path = m_place.root + m_policy.path;
        QByteArray content;
        if (!readWholeFile(path, &content, error)) {
            return false;
        }
        const QByteArray kept = m_before.isMalformed ? commentsOf(content) : content;
        const QByteArray written = moduleFileWith(m_policy, kept, m_values, settingsLeftAlone());
        if (written == content) {
            return true;
        }
        return makeFolder(QFileInfo(path).path(), error) && replaceFile(path, written, error);
    }

    /// Those that the wish says nothing of. What stands there without a meaning is nothing to be merged, nor to be lost.
    QStringList settingsLeftAlone() const
    {
        QStringList names;
        for (const ModuleSetting &setting : m_policy.settings) {
            const bool isNamed = m_wish.values.contains(setting.name) || m_wish.unset.contains(setting.name);
            names += m_wish.merges && !isNamed ? QStringList{setting.name} : QStringList();
        }
        return names;
    }

    /// Only that beside the library's own file may be missing. Everybody may read what is in it.
    static bool makeFolder(const QString &folder, QString *error)
    {
        if (QFile::exists(folder)) {
            return true;
        }
        const QByteArray path = QFile::encodeName(folder);
        constexpr mode_t mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;
        if (mkdir(path.constData(), mode) == 0 && chmod(path.constData(), mode) == 0) {
            return true;
        }
        *error = folder + QLatin1String(": ") + qt_error_string();
        return false;
    }

    ModuleOutcome switchProfiles()
    {
        if (m_wish.profiles == Switch::On) {
            return switchOn();
        }
        return m_wish.profiles == Switch::Off ? switchOff() : ended(Kind::Done);
    }

    ModuleOutcome switchOn()
    {
        if (m_policy.profiles.isEmpty()) {
            return m_before.force == ModuleForce::None
                ? ended(Kind::Done, tr("no stack calls %1: pam-auth-update(8) shows the profiles").arg(m_policy.module))
                : ended(Kind::Done);
        }
        if (m_before.force == ModuleForce::OurProfiles) {
            return ended(Kind::Done);
        }
        const QString line = lineNotToDouble();
        if (!line.isEmpty()) {
            return ended(Kind::InForceAlready, tr("%1 is called already: %2").arg(m_policy.module, line));
        }
        const QString obstacle = obstacleToProfiles();
        return obstacle.isEmpty() ? runTool(QStringLiteral("--enable")) : failed(obstacle);
    }

    ModuleOutcome switchOff()
    {
        if (areOursThere()) {
            ModuleOutcome outcome = runTool(QStringLiteral("--disable"));
            if (!outcome.succeeded()) {
                return outcome;
            }
        }
        const ModuleReading now = readModule(m_policy, m_place.root);
        return now.lines.isEmpty()
            ? ended(Kind::Done)
            : ended(Kind::NotOurs, tr("%1 is still called: %2").arg(m_policy.module, lineText(now.lines.constFirst())));
    }

    QString obstacleToProfiles() const
    {
        if (m_before.modulePath.isEmpty()) {
            return tr("%1.so is not installed").arg(m_policy.module);
        }
        for (const QString &profile : m_policy.profiles) {
            const QString path = QLatin1String("/usr/share/pam-configs/") + profile;
            if (!QFile::exists(m_place.root + path)) {
                return tr("%1 is missing").arg(path);
            }
        }
        return {};
    }

    /// Whether pam-auth-update(8) has any of our profiles among those that it has put into the stacks.
    bool areOursRecorded() const
    {
        for (const QString &type : m_policy.types) {
            QFile record(m_place.root + QLatin1String("/var/lib/pam/") + type);
            const auto lines = record.open(QIODevice::ReadOnly) ? record.readAll().split('\n') : QByteArrayList();
            for (const QString &profile : m_policy.profiles) {
                if (lines.contains("Module: " + profile.toLatin1())) {
                    return true;
                }
            }
        }
        return false;
    }

    /// The same, or any of their lines in the stacks: the tool may have ended before it recorded them.
    bool areOursThere() const
    {
        const ModuleReading now = readModule(m_policy, m_place.root);
        return areOursRecorded() || std::any_of(now.lines.begin(), now.lines.end(), [](const ModuleLine &line) {
                   return line.isOurs;
               });
    }

    bool areSwitched(const QString &option) const
    {
        return option == QLatin1String("--enable")
            ? readModule(m_policy, m_place.root).force == ModuleForce::OurProfiles
            : !areOursThere();
    }

    /// Without "--force" first: that is needed for nothing but stacks that were edited, and leaves copies of the old ones.
    ModuleOutcome runTool(const QString &option)
    {
        const QString other = otherThanPlainFile();
        if (!other.isEmpty()) {
            return failed(
                tr("%1 is no plain file, and pam-auth-update would put one in its place: do so first").arg(other));
        }
        ModuleOutcome outcome = runToolOnce({QStringLiteral("--package"), option});
        if (outcome.kind != Kind::StacksEdited || !m_wish.force) {
            return outcome;
        }
        const QVector<KeptOptions> kept = optionsOfOthers();
        outcome = runToolOnce({QStringLiteral("--force"), QStringLiteral("--package"), option});
        QString error;
        for (const KeptOptions &others : kept) {
            if (outcome.succeeded() && !writeOptions(*others.policy, others.values, &error)) {
                return failed(error);
            }
        }
        return outcome;
    }

    /// What other policies have on lines of our profiles: stacks that are made anew would lose it.
    QVector<KeptOptions> optionsOfOthers() const
    {
        QVector<KeptOptions> kept;
        const auto policies = modulePolicies();
        for (const ModulePolicy *policy : policies) {
            const ModuleReading reading = readModule(*policy, m_place.root);
            if (policy != &m_policy && reading.force == ModuleForce::OurProfiles && !moduleReadsFile(*policy)) {
                kept += {policy, reading.values};
            }
        }
        return kept;
    }

    ModuleOutcome runToolOnce(const QStringList &options)
    {
        Command tool = m_place.pamAuthUpdate;
        tool.arguments += options + m_policy.profiles;
        // debconf's frontend runs it: alone it would go on, and write the stacks after they are put back
        tool.endsAsGroup = true;
        const CommandOutcome outcome = runCommand(tool);
        if (!outcome.succeeded()) {
            return ended(tellsOfLock(outcome) ? Kind::Busy : Kind::Failed, toolFailure(outcome));
        }
        if (areSwitched(options.constLast())) {
            return ended(Kind::Done);
        }
        return m_snapshot.differs(stacksBelow(m_place.root))
            ? failed(tr("pam-auth-update has not switched the profiles"))
            : ended(Kind::StacksEdited,
                    tr("the stacks were edited by hand, and pam-auth-update leaves them as they are"));
    }

    /// By debconf's words, which it doesn't translate: its exit status is the same for all its errors.
    static bool tellsOfLock(const CommandOutcome &outcome)
    {
        return outcome.standardError.contains(QLatin1String("is locked by another process"));
    }

    static QString toolFailure(const CommandOutcome &outcome)
    {
        const QString why = outcome.end == CommandOutcome::End::Exited
            ? tr("exit code %1").arg(outcome.exitCode) + QLatin1String(": ") + outcome.standardError.simplified()
            : outcome.errorString;
        return tr("pam-auth-update has failed: %1").arg(why);
    }

    /// The file has them by now.
    bool takeOptionsAway(QString *error) const
    {
        const QVector<ModuleLine> lines = readModule(m_policy, m_place.root).lines;
        return std::all_of(lines.begin(), lines.end(), [&](const ModuleLine &line) {
            return !areOptionsOutdated(m_policy, line)
                || replaceOptions(m_policy, line, moduleOptionsWith(m_policy, line.options, {}), error);
        });
    }

    /// Where the module reads no file, its options are the values.
    bool writeOptions(const ModulePolicy &policy, const QVariantMap &values, QString *error) const
    {
        const QVector<ModuleLine> lines = readModule(policy, m_place.root).lines;
        if (lines.isEmpty()) {
            const bool isLost = m_wish.profiles != Switch::Off && !setValues(policy, values).isEmpty();
            *error = isLost ? tr("%1 reads no file here: it has to be switched on").arg(policy.module) : QString();
            return !isLost;
        }
        // those of the common stacks come first; a service's own beside them are their owner's
        const bool isOnly = lines.size() == 1 || (lines.at(0).isCommon && !lines.at(1).isCommon);
        if (!isOnly) {
            *error = tr("%1 is called more than once: %2, %3")
                         .arg(policy.module, lineText(lines.at(0)), lineText(lines.at(1)));
            return false;
        }
        const ModuleLine &line = lines.constFirst();
        return moduleOptionValues(policy, line.options) == setValues(policy, values)
            || replaceOptions(policy, line, moduleOptionsWith(policy, line.options, values), error);
    }

    bool
    replaceOptions(const ModulePolicy &policy, const ModuleLine &line, const QStringList &options, QString *error) const
    {
        const QString path = m_place.root + line.path;
        QByteArray content;
        if (!readWholeFile(path, &content, error)) {
            return false;
        }
        const QByteArray written = pamStackWithOptions(content, line.number, policy.module, options);
        if (written.isNull()) {
            *error = tr("%1 is a line that goes on in the next one").arg(lineText(line));
            return false;
        }
        return replaceFile(path, written, error);
    }

    /// What doesn't work now and did before, or works in another way; empty if nothing.
    QString freshFault(const QStringList &faultsBefore, const QStringList &jumpsBefore) const
    {
        if (!m_snapshot.differs(stacksBelow(m_place.root))) {
            return {};
        }
        const auto faults = pamFaults(m_place.root);
        for (const QString &fault : faults) {
            if (!faultsBefore.contains(fault)) {
                return tr("the stacks would not work: %1").arg(fault);
            }
        }
        const auto jumps = pamJumps(m_place.root);
        for (const QString &jump : jumps) {
            if (!jumpsBefore.contains(jump)) {
                return tr("the stacks would not work as before: %1").arg(jump);
            }
        }
        return {};
    }

    bool areValuesThere() const
    {
        const ModuleReading now = readModule(m_policy, m_place.root);
        const bool areGone = !moduleReadsFile(m_policy) && now.lines.isEmpty();
        return now.error.isEmpty() && (areGone || now.values == setValues(m_policy, m_values));
    }

    static QString lineText(const ModuleLine &line)
    {
        return line.path + QLatin1Char(':') + QString::number(line.number);
    }

    /// One that isn't ours, and that ours would repeat; empty if there is none.
    QString lineNotToDouble() const
    {
        for (const ModuleLine &line : m_before.lines) {
            if (!line.isOurs && (line.isCommon || enforces(m_policy, line))) {
                return lineText(line);
            }
        }
        return {};
    }

    const ModulePolicy &m_policy;
    const ModuleWish &m_wish;
    const ModulePlace &m_place;
    const bool m_hadFolder;
    const ModuleReading m_before;
    /// All that is to stand there afterwards.
    const QVariantMap m_values;
    const DebconfAnswer m_answer;
    const FileSnapshot m_snapshot;
};
}

Command ModulePlace::pamAuthUpdateAlone()
{
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/sbin:/usr/bin:/sbin:/bin"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    // it must ask nobody, also where there is a terminal
    environment.insert(QStringLiteral("DEBIAN_FRONTEND"), QStringLiteral("noninteractive"));
    return {QStringLiteral("/usr/sbin/pam-auth-update"), {}, environment};
}

bool ModuleOutcome::succeeded() const
{
    return kind == Kind::Done || kind == Kind::InForceAlready || kind == Kind::NotOurs;
}

QVariantMap wantedValues(const ModuleWish &wish, const QVariantMap &present)
{
    QVariantMap values = wish.merges ? present : QVariantMap();
    for (const QString &name : wish.unset) {
        values.remove(name);
    }
    for (auto value = wish.values.begin(); value != wish.values.end(); ++value) {
        values.insert(value.key(), *value);
    }
    return values;
}

QVariantMap freshValues(const QVariantMap &wanted, const QVariantMap &present)
{
    QVariantMap fresh = wanted;
    for (auto value = present.begin(); value != present.end(); ++value) {
        const QVariant same = fresh.value(value.key());
        if (same == *value && same.userType() == value->userType()) {
            fresh.remove(value.key());
        }
    }
    return fresh;
}

ModuleOutcome writeModule(const ModulePolicy &policy, const ModuleWish &wish, const ModulePlace &place)
{
    ModuleOutcome outcome;
    // copies are their maker's alone
    const std::unique_ptr<WriteLock> lock = place.root.isEmpty() ? std::make_unique<WriteLock>() : nullptr;
    outcome.reason = lock ? lock->obstacle() : QString();
    if (!outcome.reason.isEmpty()) {
        outcome.kind = lock->isBusy() ? ModuleOutcome::Kind::Busy : ModuleOutcome::Kind::Failed;
        return outcome;
    }
    return ModuleWrite(policy, wish, place).run();
}

QStringList modulePolicyFolders()
{
    return pamFolders() + QStringList{QStringLiteral("/usr/share/pam-configs"), QStringLiteral("/var/lib/pam")};
}
