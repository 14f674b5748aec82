// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcessEnvironment>
#include <QTextCodec>

#include <array>
#include <csignal>
#include <sys/types.h>

/// The helper's, whatever the user's is: comments in the files are UTF-8, and copies get the bytes of the files.
class HelperEncoding
{
public:
    HelperEncoding();
    ~HelperEncoding();

private:
    Q_DISABLE_COPY_MOVE(HelperEncoding)

    QTextCodec *m_users = QTextCodec::codecForLocale();
};

/// What the environment of the helper's tools has, and that they ask nobody, though there may be a terminal.
QProcessEnvironment helperEnvironment();

/**
 * Makes this process as the helper is, for the tasks that it runs and for their tools, until this object ends: encoding,
 * environment, the modes of new files. Nothing that a terminal or another process sends cuts the work short, but SIGKILL.
 */
class HelperSurroundings
{
public:
    HelperSurroundings();
    ~HelperSurroundings();

private:
    Q_DISABLE_COPY_MOVE(HelperSurroundings)

    static constexpr std::array<int, 3> m_signals{SIGINT, SIGTERM, SIGHUP};

    HelperEncoding m_encoding;
    char **m_environment;
    mode_t m_mask;
    std::array<struct sigaction, m_signals.size()> m_actions{};
};
