// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Worker.h"

#include <utility>

Worker::Worker()
{
    m_inside.moveToThread(&m_thread);
    connect(this, &Worker::wanted, &m_inside, [this] {
        m_work();
        Q_EMIT ended(QPrivateSignal());
    });
    connect(this, &Worker::ended, this, &Worker::finish);
    m_thread.start();
}

Worker::~Worker()
{
    m_thread.quit();
    m_thread.wait();
}

bool Worker::isBusy() const
{
    return m_isBusy;
}

void Worker::run(const std::function<void()> &work, const std::function<void()> &done)
{
    m_isBusy = true;
    m_work = work;
    m_done = done;
    Q_EMIT wanted(QPrivateSignal());
}

void Worker::finish()
{
    m_isBusy = false;
    const std::function<void()> done = std::exchange(m_done, {});
    done();
}
