// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QtGlobal>

#include <sys/resource.h>

/// Lets this process open no file more, until this object ends.
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreFiles()
    {
        setrlimit(RLIMIT_NOFILE, &m_before);
    }

private:
    Q_DISABLE_COPY_MOVE(NoMoreFiles)

    rlimit m_before{};
};
