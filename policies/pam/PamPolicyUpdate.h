// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/pam/PamStackCorrection.h"

#include <QVector>

class PamOptionRewriter;
class TaskResult;

/// A profile of pam-auth-update(8).
struct PamProfile {
    QString path;
    /// What to say if no line of it names the module, translated.
    QString moduleMissing;
};

/// What the update of a PAM policy writes.
struct PamPolicyUpdate {
    /// The profiles to rewrite, in this order.
    QVector<PamProfile> profiles;
    /// The words for a pam-auth-update that fails.
    CommandFailureTexts commandTexts;
    /// The option that is corrected in the generated stack.
    PamStackOption stackOption;
    /// The number that it must have.
    int wanted;
};

/**
 * Rewrites the profiles, puts them in force with pam-auth-update(8) and corrects the generated stack.
 *
 * Stops at the first failure and undoes nothing: a profile once rewritten stays so. The outcome is Failed with the
 * reason, or Succeeded, then with the notices of rewriting and of the tool as the message.
 *
 * @param update   what to write
 * @param rewriter rebuilds the module's lines; one for all profiles, so that a module line in an earlier profile
 *                 counts for the later ones too
 * @param result   receives the outcome
 */
void updatePamPolicy(const PamPolicyUpdate &update, PamOptionRewriter *rewriter, TaskResult *result);
