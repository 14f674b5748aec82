// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"
#include "tests/support/ScopedVariable.h"

/// Has pam-auth-update put in force what names a retired module: as it was before it got a list of these.
void acceptRetiredModules();

/// Puts a shell script in the place of pam-auth-update; in a preview it does nothing.
void replaceTool(const QByteArray &script);

/// The profile that pam_tally's packages used to bring.
QByteArray tallyProfile();

/// Puts an empty file in the place of pam_tally, which this system doesn't have any more: without it nothing that its lines
/// say is in force.
void bringTallyModule();

/// Runs the client as the account of number @p user, with a state folder of that account's own.
ProgramResult client(int user, const QString &words, const QByteArray &input = QByteArray());
ProgramResult client(int user, const char *words, const QByteArray &input = QByteArray());

/// Runs a script of bash in the client's place, with the same state folder.
ProgramResult shell(int user, const QString &script, const QByteArray &input = QByteArray());

/// While it lives, programs write down elsewhere what they have covered: a client that is killed meanwhile leaves that
/// unreadable.
ScopedVariable uncounted();

/// What the client says of an error.
QByteArray complaint(const QByteArray &text);

/// What the client says of a change that needs a password, without a terminal.
inline constexpr char withoutTerminal[] = "not authorized\nthere is no terminal to ask for a password on; "
                                          "use \"ssh -t\" or sudo, or have a rule of polkit allow it";

/// How the client ends with this output and no error, and how with an error.
ProgramResult success(const QByteArray &output = QByteArray());
ProgramResult failure(int exitCode, const QByteArray &error, const QByteArray &output = QByteArray());

/// How long, in ms, a test waits for what must come.
inline constexpr int eventLimit = 30000;

/// The keys of all policies' settings.
QStringList settingKeys();

/// Where client() lets the user's history be kept.
QString stateFolder(int user);
