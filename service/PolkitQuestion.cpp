// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PolkitQuestion.h"

#include "service/BusTypes.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QUuid>

namespace
{
// what a person has for a password
constexpr int questionLimit = 300000; // ms

constexpr uint allowInteraction = 1; // of polkit's CheckAuthorizationFlags

QDBusMessage authorityCall(const QString &method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
                                          QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                          QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
                                          method);
}

QVariant subjectNamed(const QString &caller)
{
    QDBusArgument subject;
    subject.beginStructure();
    subject << QStringLiteral("system-bus-name") << QVariantMap{{QStringLiteral("name"), caller}};
    subject.endStructure();
    return QVariant::fromValue(subject);
}

PolkitQuestion::Answer answerIn(const QDBusMessage &reply)
{
    if (reply.signature() != QLatin1String("(bba{ss})")) {
        return PolkitQuestion::Answer::None;
    }
    const auto result = reply.arguments().constFirst().value<QDBusArgument>();
    bool isAuthorized = false;
    bool needsPassword = false;
    result.beginStructure();
    result >> isAuthorized >> needsPassword;
    result.endStructure();
    if (isAuthorized) {
        return PolkitQuestion::Answer::Yes;
    }
    return needsPassword ? PolkitQuestion::Answer::NeedsPassword : PolkitQuestion::Answer::No;
}
}

PolkitQuestion::PolkitQuestion(const QString &caller,
                               const QString &action,
                               const QMap<QString, QString> &details,
                               bool mayAsk)
    : m_id(QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    QDBusMessage question = authorityCall(QStringLiteral("CheckAuthorization"));
    question << subjectNamed(caller) << action << QVariant::fromValue(TextMap(details))
             << (mayAsk ? allowInteraction : 0U) << m_id;
    auto *call = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(question, questionLimit), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, &PolkitQuestion::takeAnswer);
}

PolkitQuestion::~PolkitQuestion()
{
    if (m_isOpen) {
        QDBusMessage cancel = authorityCall(QStringLiteral("CancelCheckAuthorization"));
        cancel << m_id;
        QDBusConnection::systemBus().send(cancel);
    }
}

void PolkitQuestion::takeAnswer(QDBusPendingCallWatcher *call)
{
    // one that has only waited too long is taken back by the end of this
    m_isOpen = call->error().type() == QDBusError::NoReply;
    Q_EMIT answered(answerIn(call->reply()));
}
