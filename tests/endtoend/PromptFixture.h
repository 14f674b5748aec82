// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/endtoend/PamState.h"
#include "tests/support/PseudoTerminal.h"

#include <QObject>

/// The account policyadmin, one of the group sudo, which PromptFixture makes, and its password.
inline constexpr int administrator = 4322;
extern const char password[];

/// The client on a terminal, called by policyadmin with these words.
PseudoTerminal clientAtTerminal(const char *words = "set expiration maxInterval=7");

QByteArray loginDefs();

/// What stays on the terminal: without lines that were taken away again, which come on a slow machine alone.
QByteArray shown(const PseudoTerminal &terminal);

/// What the client itself says at the end of the terminal's text, where the agent may have left its colours.
QByteArray lastLine(const QByteArray &output);

/// Waits until the agent asks for a password, and hides what is typed: it throws away what was typed before.
void awaitPrompt(PseudoTerminal *terminal);

/// Types the password once the agent asks for it.
void answer(PseudoTerminal *terminal, const QByteArray &typed = password);

/// Makes an account a member of these groups and no others.
void putIntoGroups(const QString &account, const QString &groups);

/// Prepares accounts, files and the history for a client on a terminal, where polkit's agent asks a person.
class PromptFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

private:
    PamState m_stockPam;
};
