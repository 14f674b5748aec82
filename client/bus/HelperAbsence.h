// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

class QDBusError;

/// Whether there can be a helper, or the service, at all. One that is at work, held, refused or broken is there.
enum class HelperAbsence {
    None,
    NoBus, ///< nobody listens where the system bus would be
    NotInstalled,
};

/// What an error in the place of the helper's answer tells of that.
HelperAbsence absenceBy(const QDBusError &error);

/// Whether nobody listens where the system bus would be. One that takes no more connections is no missing one.
bool isBusMissing();

/// Whether the helper's program is where it is installed.
bool isHelperInstalled();
