// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QTextCodec>

/// Makes ISO 8859-1 the encoding of the locale until this object ends: what is local differs from UTF-8 then.
class ScopedLatin1
{
public:
    ScopedLatin1() : m_before(QTextCodec::codecForLocale())
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO 8859-1"));
    }
    ~ScopedLatin1()
    {
        QTextCodec::setCodecForLocale(m_before);
    }

private:
    Q_DISABLE_COPY_MOVE(ScopedLatin1)

    QTextCodec *m_before;
};
