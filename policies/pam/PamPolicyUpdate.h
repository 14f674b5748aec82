// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/pam/PamPolicy.h"

#include <QVariantMap>

class PamOptionRewriter;
class TaskResult;

/// What the update of a PAM policy writes.
struct PamPolicyUpdate {
    const PamPolicy &policy;
    /// Those of the policy that are to be rewritten.
    QVector<PamProfile> profiles;
    /// The words for a pam-auth-update that fails; their context is that of all the update's texts.
    CommandFailureTexts commandTexts;
    /// The policy's arguments; not owned.
    const QVariantMap *arguments;
};

/**
 * Rewrites the profiles, puts them in force with pam-auth-update(8) and corrects the generated stack.
 *
 * Stops at the first failure; profiles that are rewritten by then stay so. The outcome is Failed with the
 * reason, or Succeeded, then with the notices of rewriting and of the tool as the message.
 *
 * @param update   what to write
 * @param rewriter rebuilds the modules' lines; one for all profiles: a module found in one counts for the later ones
 * @param result   receives the outcome
 */
void updatePamPolicy(const PamPolicyUpdate &update, PamOptionRewriter *rewriter, TaskResult *result);

/// Path of pam-auth-update(8).
QString pamAuthUpdatePath();
