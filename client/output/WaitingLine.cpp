// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/WaitingLine.h"

#include "client/output/Terminal.h"

#include <chrono>
#include <utility>

namespace
{
constexpr std::chrono::seconds patience(1);
}

WaitingLine::WaitingLine(QString text) : m_text(std::move(text))
{
    comeBack();
}

WaitingLine::~WaitingLine()
{
    giveWay();
}

void WaitingLine::giveWay()
{
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_over = true;
    }
    m_end.notify_one();
    m_thread.join();
    if (m_shown) {
        m_shown = false;
        // to the line's begin, and clear it
        err().write(QStringLiteral("\r\033[K"));
    }
}

void WaitingLine::comeBack()
{
    if (m_thread.joinable() || !err().isTerminal()) {
        return;
    }
    m_over = false;
    m_thread = std::thread(&WaitingLine::showUnlessOver, this);
}

void WaitingLine::showUnlessOver()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool over = m_end.wait_for(lock, patience, [this] {
        return m_over;
    });
    if (!over) {
        m_shown = true;
        err().write(m_text);
    }
}
