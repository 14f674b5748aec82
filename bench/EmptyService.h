// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/BusTypes.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

/// Answers each method with what it has already.
class EmptyService : public QObject
{
    Q_OBJECT

public:
    EmptyService();

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
    struct Reading {
        QVariantMap values;
        TextMap sources;
        QVariantMap state;
    };

    QMap<QString, Reading> m_readings;
};
