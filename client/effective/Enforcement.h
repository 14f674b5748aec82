// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/PamLine.h"

/// Says that a module that the stack names can't be loaded; none if it can.
QStringList missingRemarks(const QString &stack, const QString &module);

/**
 * What keeps a module from having weak passwords refused, whatever its rules, a sentence each (pam.conf(5)).
 *
 * @param stack the path of the stack
 * @param line  the module's line in it
 * @param tries how often the module asks for a password
 */
QStringList enforcementRemarks(const QString &stack, const QString &module, const PamLine &line, qlonglong tries);

/// The same of former passwords, where the line is pam_pwhistory's.
QStringList formerPasswordRemarks(const QString &stack, const PamLine &line);
