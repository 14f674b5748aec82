// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Answer.h"
#include "service/Caller.h"

#include <QStringList>

struct ModulePolicy;

/// What a preview of a write is made of, and may show: the policy's file and all of modulePolicyFolders().
QStringList filesOfPreviews(const ModulePolicy &policy);

/// Whether everybody may read them, and get to them. What isn't there is no secret.
bool areForEveryone(const QStringList &paths);

/// Refuses, by an error, to tell others than root what they couldn't read themselves.
Answer refusalToTell(const QStringList &paths, const Caller &caller);
