// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QMap>
#include <QObject>

class QDBusPendingCallWatcher;

/**
 * The question to polkit whether a caller may do something. It asks as soon as it is made, and takes the question back,
 * with the prompt that may be open for it, if it ends before the answer.
 */
class PolkitQuestion : public QObject
{
    Q_OBJECT

public:
    enum class Answer {
        Yes,
        No,
        /// Somebody would have to type a password, and polkit may ask nobody or finds nobody to ask.
        NeedsPassword,
        /// polkit isn't there, doesn't know the action, or nobody has answered for five minutes.
        None,
    };
    Q_ENUM(Answer)

    /**
     * @param caller  the connection's own name on the bus
     * @param details what rules may ask for by action.lookup()
     * @param mayAsk  whether polkit may ask for a password
     */
    PolkitQuestion(const QString &caller, const QString &action, const QMap<QString, QString> &details, bool mayAsk);
    ~PolkitQuestion() override;

Q_SIGNALS:
    void answered(PolkitQuestion::Answer answer);

private:
    void takeAnswer(QDBusPendingCallWatcher *call);

    QString m_id;
    bool m_isOpen = true;
};
