// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/pam/PamPolicy.h"

#include <QVariantMap>

class PamOptionRewriter;
class TaskResult;

/**
 * Rewrites the profiles, puts them in force with pam-auth-update(8) and corrects the generated stack.
 *
 * Stops at the first failure; profiles that are rewritten by then stay so. The outcome is Failed with the
 * reason, or Succeeded, then with the notices of rewriting and of the tool as the message.
 *
 * @param policy       what to write
 * @param commandTexts the words for a pam-auth-update that fails; their context is that of all the update's texts
 * @param arguments    the policy's arguments
 * @param rewriter     rebuilds the modules' lines; one for all profiles: a module found in one counts for the later ones
 * @param result       receives the outcome
 * @param tool         puts the profiles in force
 */
void updatePamPolicy(const PamPolicy &policy,
                     const CommandFailureTexts &commandTexts,
                     const QVariantMap &arguments,
                     PamOptionRewriter *rewriter,
                     TaskResult *result,
                     const Command &tool);

/// Path of pam-auth-update(8).
QString pamAuthUpdatePath();

/// Its run that puts the profiles of this machine in force.
Command pamAuthUpdate();
