// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Modules1.h"
#include "service/Requests.h"
#include "service/TerminationWatch.h"

#include <QTimer>

#include <memory>

class Modules1Adaptor;
class QDBusPendingCallWatcher;

/// The service from its start to its end: when nobody has wanted anything of it for half a minute, or by SIGTERM.
class Serving : public QObject
{
    Q_OBJECT

public:
    explicit Serving(const QDBusConnection &bus);
    ~Serving() override;

    /// Asks the bus for the service's name; false if there is no bus. It ends the event loop when it is over, with 1 if it
    /// doesn't get the name.
    bool begin();

private:
    void takeName(QDBusPendingCallWatcher *request);
    void endIdly();
    void end();
    void quitIfDone();

    QDBusConnection m_bus;
    Requests m_requests;
    Modules1 m_object;
    std::unique_ptr<Modules1Adaptor> m_adaptor;
    QTimer m_idle;
    TerminationWatch m_termination;
    bool m_isEnding = false;
};
