// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVector>

/// Has the system bus read what it lets whom do anew.
void reloadBusConfiguration();

/**
 * Has polkit's name on the bus as long as it lives, and answers when the test says so: the real one decides at once, or waits
 * for a person.
 */
class StandInForPolkit : public QDBusVirtualObject
{
    Q_OBJECT

public:
    struct Question {
        QDBusMessage message;
        QString caller;
        QString action;
        QString account;
        uint flags = 0;
        QString id;
    };

    StandInForPolkit();
    ~StandInForPolkit() override;

    /// What it was asked, and has not answered yet.
    QVector<Question> questions;
    /// The numbers of questions that were taken back.
    QStringList cancelled;

    void answer(const Question &question, bool isAuthorized, bool needsPassword = false);
    /// Answers with an error, as polkit does to what it doesn't know.
    void fail(const Question &question);
    /// Says yes to all that it was asked.
    void admitAll();

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override;

private:
    Q_DISABLE_COPY(StandInForPolkit)
};
