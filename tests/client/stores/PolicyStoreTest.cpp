// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Writes by a helper that isn't the real one: what is told of those that fail after they have changed a profile.

#include "client/stores/PolicyStore.h"

#include "client/stores/PolicyAccess.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/StandInForHelper.h"

#include <KAuth/ActionReply>

#include <QDataStream>
#include <QTest>

namespace
{
const char profile[] = "/usr/share/pam-configs/pwquality";
const char asItWas[] = "password requisite pam_pwquality.so\n";
const char written[] = "password requisite pam_pwquality.so minlen=12\n";
}

/// Takes the helper's name on the bus, makes the profile what it is told at each call, and answers as it is told.
class WritingHelper : public StandInForHelper
{
public:
    QByteArray content;
    KAuth::ActionReply reply;
    /// For a task that failed.
    QString message;

private:
    QByteArray answer(const QDBusMessage & /*call*/, const QByteArray &arguments) override
    {
        writeContent(profile, content);
        QVariantMap data;
        QDataStream stream(arguments);
        stream >> data;
        if (!message.isEmpty()) {
            data.insert(QStringLiteral("error"), true);
            data.insert(QStringLiteral("description"), QStringLiteral("what"));
            data.insert(QStringLiteral("message"), message);
        }
        reply.setData(data);
        return reply.serialized();
    }
};

class PolicyStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void tellsOfProfileThatFailedWriteChanged_data();
    void tellsOfProfileThatFailedWriteChanged();

private:
    WritingHelper m_helper;
};

void PolicyStoreTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QVERIFY(m_helper.start());
}

void PolicyStoreTest::tellsOfProfileThatFailedWriteChanged_data()
{
    using Reply = KAuth::ActionReply;
    QTest::addColumn<QString>("policy");
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("filesChanged");
    const auto add = [](const char *row,
                        const char *policy,
                        const Reply &reply,
                        const char *message,
                        const char *content,
                        const QString &error,
                        bool filesChanged) {
        QTest::newRow(row) << QString::fromLatin1(policy) << reply << QString::fromLatin1(message)
                           << QByteArray(content) << error << filesChanged;
    };
    const char lock[] = "config.dat is locked by another process";
    const QString failed = QStringLiteral("the complexity policy could not be changed\nwhat\n");
    const QString note =
        QStringLiteral("\nthe profile has changed and comes into force with the next run of pam-auth-update");
    const Reply answered = Reply::SuccessReply();
    add("done", "complexity", answered, "", written, {}, false);
    add("failed", "complexity", answered, "why", asItWas, failed + QStringLiteral("why"), false);
    add("failed, but changed", "complexity", answered, "why", written, failed + QStringLiteral("why") + note, true);
    add("locked, but changed", "complexity", answered, lock, written, failed + QLatin1String(lock) + note, true);
    add("another policy failed",
        "expiration",
        answered,
        "why",
        written,
        QStringLiteral("the expiration policy could not be changed\nwhat\nwhy"),
        false);
    // others have changed it
    add("busy",
        "complexity",
        Reply::HelperBusyReply(),
        "",
        written,
        QStringLiteral("the helper is busy; try again later"),
        false);
    add("refused",
        "complexity",
        Reply::AuthorizationDeniedReply(),
        "",
        written,
        QStringLiteral("not authorized"),
        false);
}

void PolicyStoreTest::tellsOfProfileThatFailedWriteChanged()
{
    QFETCH(QString, policy);
    QFETCH(KAuth::ActionReply, reply);
    QFETCH(QString, message);
    QFETCH(QByteArray, content);
    writeContent(profile, asItWas);
    m_helper.reply = reply;
    m_helper.message = message;
    m_helper.content = content;
    constexpr int brief = 1000; // ms
    PolicyAccess access(false);

    const Outcome outcome = PolicyStore(*findPolicy(policy), &access, {brief, brief}).write({});

    QTEST(outcome.error, "error");
    QTEST(outcome.filesChanged, "filesChanged");
}

QTEST_GUILESS_MAIN(PolicyStoreTest)
#include "PolicyStoreTest.moc"
