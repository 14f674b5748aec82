// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/machine/HelperSurroundings.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{
// as the helper's unit has them, and the last for who has a terminal
char searchPath[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
char locale[] = "LC_ALL=C.UTF-8";
char frontend[] = "DEBIAN_FRONTEND=noninteractive";

std::array<char *, 4> environmentEntries{searchPath, locale, frontend, nullptr};

// the unit's, too: with a stricter one pam-auth-update makes stacks that ordinary programs can't read
constexpr mode_t mask = S_IWGRP | S_IWOTH;
}

HelperEncoding::HelperEncoding()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

HelperEncoding::~HelperEncoding()
{
    QTextCodec::setCodecForLocale(m_users);
}

QProcessEnvironment helperEnvironment()
{
    QProcessEnvironment environment;
    for (const char *entry : {searchPath, locale, frontend}) {
        const QString text = QString::fromLatin1(entry);
        const auto nameEnd = text.indexOf(QLatin1Char('='));
        environment.insert(text.left(nameEnd), text.mid(nameEnd + 1));
    }
    return environment;
}

HelperSurroundings::HelperSurroundings() : m_environment(environ), m_mask(umask(mask))
{
    environ = environmentEntries.data();
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(m_signals.at(i), &ignore, &m_actions.at(i)); // tools inherit that
    }
}

HelperSurroundings::~HelperSurroundings()
{
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        sigaction(m_signals.at(i), &m_actions.at(i), nullptr);
    }
    umask(m_mask);
    environ = m_environment;
}
