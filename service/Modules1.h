// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/BusTypes.h"
#include "service/Readings.h"
#include "service/Requests.h"

#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

/**
 * The object on the bus: org.accountpolicies.Modules1.xml tells what its methods do, which are called as there.
 *
 * They say at once what is wrong with their arguments, and hand over all else; what they return here isn't sent.
 */
class Modules1 : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    explicit Modules1(Requests *requests);

    QStringList ListPolicies();
    TextMap ListSettings(const QString &policy);
    QVariantMap ReadPolicy(const QString &policy, TextMap &sources, QVariantMap &state);
    bool WritePolicy(const QString &policy, const QVariantMap &values, const QVariantMap &options, QString &note);
    ChangedFiles PreviewPolicy(const QString &policy, const QVariantMap &values, const QVariantMap &options);
    LockedAccounts ListLocked();
    void Unlock(const QString &account);

Q_SIGNALS:
    void PolicyChanged(const QString &policy);

private:
    void refuse(const Answer &fault);
    void take(const Job &job);

    Requests *m_requests;
    Readings m_readings;
};
