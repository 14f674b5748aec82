// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/settings/Setting.h"
#include "policies/machine/FilePreview.h"

#include <QVector>

/// What a write would do.
struct Preview {
    /// How the write would end; also a failure where that can't be known.
    Outcome outcome;
    /// The files that would be others; as far as the write would come, where it would fail.
    QVector<FilePreview> files;
    /// Whether the write itself would end so, whatever is forced.
    bool isFinal = false;

    bool losesLines() const;
};

/// A preview that can't be made, and why.
Preview notKnown(const QString &reason);

/**
 * Writes a policy of the machine by the tasks of the helper, with the text encoding and the tools that it has there, but
 * into copies of the files. Changes nothing, and needs no right but that of reading. For a policy of PAM it runs
 * pam-auth-update(8) once.
 *
 * Where the copies can't be made, the failure says which file can't be read.
 *
 * @param policy its name
 */
Preview previewOf(const QString &policy, const Settings &wanted);
