// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

struct ModulePolicy;

/// What a read of a policy is made of: its file, the stacks, and what pam-auth-update(8) has recorded of them.
QStringList filesOfReads(const ModulePolicy &policy);

/// What a preview of a write is made of besides, and may show: all of modulePolicyFolders().
QStringList filesOfPreviews(const ModulePolicy &policy);

/// The first one that not everybody may read, or get to; empty if there is none. What isn't there is no secret.
QString firstPrivateFile(const QStringList &paths);
