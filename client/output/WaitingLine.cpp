// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/WaitingLine.h"

#include "client/output/Terminal.h"

namespace
{
constexpr int patience = 1000; // ms
}

WaitingLine::WaitingLine(const QString &text)
{
    if (!err().isTerminal()) {
        return;
    }
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, text] {
        m_shown = true;
        err().write(text);
    });
    m_timer.start(patience);
}

WaitingLine::~WaitingLine()
{
    giveWay();
}

void WaitingLine::giveWay()
{
    m_timer.stop();
    if (m_shown) {
        m_shown = false;
        // to the line's begin, and clear it
        err().write(QStringLiteral("\r\033[K"));
    }
}
