// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Worker.h"

Worker::Worker()
{
    m_inside.moveToThread(&m_thread);
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
    const auto end = [this, done] {
        m_isBusy = false;
        done();
    };
    QMetaObject::invokeMethod(&m_inside, [this, work, end] {
        work();
        QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
    });
}
