// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Sends the service what no client would: serviceattacker random SEED COUNT, flood COUNT, large COUNT, or leave COUNT. Random
// messages have the methods' names or others, with arguments of the right and of wrong types. Writes how many answers came to
// standard output, and ends with 1 if one is missing. By "leave" so many connections each end before their answer.

#include "service/ServiceNames.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QTextStream>

#include <functional>
#include <map>
#include <random>

namespace
{
constexpr int limit = 60000; // ms
constexpr int mostAtOnce = 64;

class RandomCall
{
public:
    explicit RandomCall(unsigned seed) : m_random(seed)
    {
    }

    QDBusMessage next()
    {
        const QStringList paths{
            QLatin1String(servicePath), QStringLiteral("/"), QStringLiteral("/org/accountpolicies")};
        const QStringList interfaces{QLatin1String(serviceName), QStringLiteral("org.freedesktop.DBus.Properties")};
        QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(serviceName),
                                                           paths.at(oneOf(10) < 8 ? 0 : oneOf(3)),
                                                           interfaces.at(oneOf(10) < 9 ? 0 : 1),
                                                           method());
        call.setArguments(oneOf(3) == 0 ? anyArguments() : rightTypes());
        call.setInteractiveAuthorizationAllowed(oneOf(2) == 0);
        return call;
    }

private:
    int oneOf(int count)
    {
        return std::uniform_int_distribution<int>(0, count - 1)(m_random);
    }

    QString method()
    {
        const QStringList names =
            QStringLiteral("ReadPolicy WritePolicy PreviewPolicy ListPolicies ListSettings ListLocked Unlock "
                           "PolicyChanged Get GetAll Set deleteLater")
                .split(QLatin1Char(' '));
        m_method = names.at(oneOf(static_cast<int>(names.size())));
        return m_method;
    }

    QString text()
    {
        const QStringList texts{QStringLiteral("faillock"),
                                QStringLiteral("pwquality"),
                                QStringLiteral("pwhistory"),
                                QStringLiteral("deny"),
                                QStringLiteral("minlen"),
                                QStringLiteral("dir"),
                                QStringLiteral("on"),
                                QStringLiteral("merge"),
                                QStringLiteral("../../etc/passwd"),
                                QStringLiteral("--reset"),
                                QString(),
                                QString(1 + oneOf(5000), QChar(0x20 + oneOf(0x2000)))};
        return texts.at(oneOf(static_cast<int>(texts.size())));
    }

    QVariant value(int depth)
    {
        switch (oneOf(depth > 0 ? 12 : 9)) {
        case 0:
            return oneOf(2) == 0;
        case 1:
            return oneOf(100);
        case 2:
            return -(1LL << oneOf(63));
        case 3:
            return ~0ULL;
        case 4:
            return QVariant::fromValue(uchar(oneOf(256)));
        case 5:
            return 1e300;
        case 6:
            return text();
        case 7:
            return QByteArray(oneOf(2000), '\xff');
        case 8:
            return QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a/b")));
        case 9:
            return map(depth - 1);
        case 10:
            return QVariant::fromValue(QDBusVariant(value(depth - 1)));
        default:
            return QVariantList{value(depth - 1), value(depth - 1)};
        }
    }

    QVariantMap map(int depth)
    {
        QVariantMap values;
        for (int i = oneOf(12); i > 0; --i) {
            values.insert(text(), value(depth));
        }
        return values;
    }

    QVariantList anyArguments()
    {
        QVariantList arguments;
        for (int i = oneOf(5); i > 0; --i) {
            arguments += value(4);
        }
        return arguments;
    }

    QVariantList rightTypes()
    {
        if (m_method == QLatin1String("WritePolicy") || m_method == QLatin1String("PreviewPolicy")) {
            return {text(), map(2), map(1)};
        }
        return m_method == QLatin1String("ListLocked") ? QVariantList() : QVariantList{text()};
    }

    std::mt19937 m_random;
    QString m_method;
};

QDBusMessage callOf(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(serviceName), QLatin1String(servicePath), QLatin1String(serviceName), method);
    call.setArguments(arguments);
    return call;
}

/// Sends all of them, so many at a time, and counts the answers.
class Attack : public QObject
{
public:
    Attack(int count, int atOnce, const std::function<QDBusMessage()> &next) : m_left(count), m_next(next)
    {
        for (int i = 0; i < atOnce; ++i) {
            sendNext();
        }
    }

    int answers() const
    {
        return m_answers;
    }

private:
    void sendNext()
    {
        if (m_left == 0) {
            return;
        }
        --m_left;
        ++m_open;
        auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(m_next(), limit), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            const QDBusError::ErrorType error = watcher->error().type();
            m_answers += error == QDBusError::NoReply || error == QDBusError::Disconnected ? 0 : 1;
            watcher->deleteLater();
            sendNext();
            if (--m_open == 0) {
                QCoreApplication::quit();
            }
        });
    }

    int m_left;
    int m_open = 0;
    int m_answers = 0;
    std::function<QDBusMessage()> m_next;
};

/// Sends it on a connection of its own, which ends as soon as that is done.
void sendAndLeave(const QDBusMessage &message)
{
    const QString name = QStringLiteral("leaving");
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    // so that the service has met it
    bus.call(callOf(QStringLiteral("ReadPolicy"), {QStringLiteral("faillock")}));
    bus.send(message);
    // an answer comes after what was sent before has been
    bus.interface()->serviceUid(bus.baseService());
    QDBusConnection::disconnectFromBus(name);
}

void leaveOften(int count)
{
    const QString faillock = QStringLiteral("faillock");
    const QVariantMap on{{QStringLiteral("on"), true}};
    const QVector<QDBusMessage> messages{callOf(QStringLiteral("PreviewPolicy"), {faillock, QVariantMap(), on}),
                                         callOf(QStringLiteral("WritePolicy"), {faillock, QVariantMap(), on}),
                                         callOf(QStringLiteral("ListLocked"), {}),
                                         callOf(QStringLiteral("ReadPolicy"), {faillock})};
    for (int i = 0; i < count; ++i) {
        sendAndLeave(messages.at(i % messages.size()));
    }
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const QString kind = words.value(1);
    const int count = words.constLast().toInt();
    if (kind == QLatin1String("leave")) {
        leaveOften(count);
        return 0;
    }
    RandomCall random(words.value(2).toUInt());
    const std::map<QString, std::function<QDBusMessage()>> attacks{
        {QStringLiteral("random"),
         [&random] {
             return random.next();
         }},
        {QStringLiteral("flood"),
         [] {
             return callOf(QStringLiteral("ReadPolicy"), {QStringLiteral("faillock")});
         }},
        {QStringLiteral("large"),
         [] {
             const QVariantMap values{{QStringLiteral("deny"), QByteArray(30000000, 'x')}};
             return callOf(QStringLiteral("WritePolicy"), {QStringLiteral("faillock"), values, QVariantMap()});
         }},
    };
    const Attack attack(count, kind == QLatin1String("random") ? mostAtOnce : count, attacks.at(kind));
    QCoreApplication::exec();
    QTextStream(stdout) << attack.answers() << '\n';
    return attack.answers() == count ? 0 : 1;
}
