// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"

/// pam-auth-update(8), which tests replace.
QString toolPath();

/// A file whose lines pam-auth-update of this system can put in force: its list of retired modules emptied.
void acceptRetiredModules();

/// The profile that pam_tally's packages used to bring.
QByteArray tallyProfile();

/// Runs the client as the account of number @p user, with a state folder of that account's own.
ProgramResult client(int user, const QString &words, const QByteArray &input = QByteArray());

/// Runs a script of bash in the client's place, with the same state folder.
ProgramResult shell(int user, const QString &script, const QByteArray &input = QByteArray());

/// The words of a command line, cut at blanks.
QStringList splitWords(const QString &words);

/// Where client() lets the user's history be kept.
QString stateFolder(int user);
