// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/modules/ModulePolicy.h"

#include <QVariantMap>

/// What somebody wants of a policy.
struct ModuleWish {
    enum class Switch {
        /// Our profiles stay as they are.
        Stay,
        /// Our profiles put the policy in force, unless other lines do already.
        On,
        /// Our profiles are taken out of the stacks.
        Off,
    };

    /// What it is to set of the policy.
    QVariantMap values;
    Switch profiles = Switch::On;
    /// Whether pam-auth-update(8) may write stacks anew that were edited by hand.
    bool force = false;
    /// Whether what stands there and isn't named here stays as it is by then; else it is taken away.
    bool merges = false;
    /// What is taken away from there in any case, by name.
    QStringList unset = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// All that a policy is to set, where these values stand now.
QVariantMap wantedValues(const ModuleWish &wish, const QVariantMap &present);

/// Those of the values that don't stand there already, just so.
QVariantMap freshValues(const QVariantMap &wanted, const QVariantMap &present);

/// Where the files are that a write changes, and which tool changes the stacks there.
struct ModulePlace {
    /// Stands before the path of each file; empty for the files themselves.
    QString root = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// A run of pam-auth-update(8); what it is to do is added to its arguments. For copies it needs "--root" and a
    /// debconf of its own, and neither "--force" nor "--package".
    Command pamAuthUpdate = pamAuthUpdateAlone();

    static Command pamAuthUpdateAlone();
};

/// How a write ended.
struct ModuleOutcome {
    enum class Kind {
        /// The values stand where they are kept, and the profiles are as wanted.
        Done,
        /// As Done, but our profiles stay off: other lines call the module already, and would do so twice. Whether they put
        /// the policy in force is for a reading to say.
        InForceAlready,
        /// To be switched off, but other lines than ours call the module, and go on calling it. The values are written.
        NotOurs,
        /// The stacks were edited by hand, pam-auth-update(8) leaves them alone, and force wasn't given. All files are as
        /// they were.
        StacksEdited,
        /// The stacks would not have worked any more: a module that isn't installed, a jump to nowhere, or nobody could
        /// log in. All files are as they were.
        RolledBack,
        /// Another write goes on, or another package has debconf's database just now. All files are as they were.
        Busy,
        /// The wish can't be fulfilled, or a file or tool failed. All files are as they were, unless the reason says that
        /// one couldn't be put back.
        Failed,
    };

    bool succeeded() const;

    Kind kind = Kind::Failed;
    /// One line, translated. Where it is done, what still keeps the policy from being in force; mostly empty.
    QString reason;
    /// The policy's values before.
    QVariantMap before;
    /// Whether our profiles were in force before.
    bool wasOn = false;
    /// Whether any file is another now.
    bool changed = false;
};

/**
 * Writes a policy's values and switches our profiles, as one transaction: it is done as a whole, or all files go back to
 * what they were: the policy's file, the stacks, pam-auth-update's records of them, and debconf's answer which profiles are
 * chosen.
 *
 * The file is replaced by a complete new one, with its mode and owner, comments and foreign lines; a link is not followed,
 * but a failure, also where pam-auth-update(8) would replace one. Where the module reads no file, the values are the options of its line in the stack, which
 * pam-auth-update(8) keeps as changes of the administrator's; they go with the line. A profile with them would be reset
 * with each new version of its package. Where the module reads one by now, they go from our line into the file.
 *
 * Values that stand there already may be any that the module reads. A file that its module doesn't understand is written anew
 * where the wish says all that it is to have; its comments stay.
 *
 * A folder that is set anew has to be there, and root's alone: files that root makes there belong to others.
 *
 * Waits for another write to end, for at most half a minute. Only root can hold it up: the lock is a file that nobody else
 * may open, "/etc/security/.accountpolicies.lock".
 *
 * Blocks while pam-auth-update(8) runs, a second or so, at most a minute.
 *
 * For a preview, copies are needed of the policy's file, of what is in modulePolicyFolders(), and of debconf's database.
 */
ModuleOutcome writeModule(const ModulePolicy &policy, const ModuleWish &wish, const ModulePlace &place = ModulePlace());

/// The folders with the stacks, the profiles of pam-auth-update(8) and its records; everybody may read them.
QStringList modulePolicyFolders();
