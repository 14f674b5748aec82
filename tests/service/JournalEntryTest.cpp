// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/JournalEntry.h"

#include "tests/service/JournalSocket.h"
#include "tests/support/Sandbox.h"

#include <QTest>

class JournalEntryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void tellsWhoDidWhat();
    void tellsWhyNothingCameOfIt();
    void keepsFieldsApart();
};

void JournalEntryTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void JournalEntryTest::tellsWhoDidWhat()
{
    const JournalSocket journal;
    writeToJournal({{QStringLiteral(":1.7"), 1000, 4321, 1001},
                    QStringLiteral("write-faillock"),
                    QStringLiteral("policy faillock"),
                    {{QStringLiteral("deny"), 3LL}, {QStringLiteral("silent"), true}},
                    {{QStringLiteral("deny"), 5LL}, {QStringLiteral("dir"), QStringLiteral("/var/lib/x")}},
                    QStringLiteral("done"),
                    {},
                    {{QStringLiteral("on"), true}},
                    QStringLiteral("none"),
                    QStringLiteral("profiles")});

    QCOMPARE(journal.next().join('\n'),
             QByteArray("MESSAGE=User 1000, write-faillock, policy faillock: done\n"
                        "MESSAGE_ID=b6e1f2a3c7d84e5f9a0b1c2d3e4f5061\n"
                        "PRIORITY=5\n"
                        "ACCOUNTPOLICIES_ACTION=write-faillock\n"
                        "ACCOUNTPOLICIES_SUBJECT=policy faillock\n"
                        "ACCOUNTPOLICIES_CALLER_UID=1000\n"
                        "ACCOUNTPOLICIES_CALLER_LOGINUID=1001\n"
                        "ACCOUNTPOLICIES_CALLER_PID=4321\n"
                        "ACCOUNTPOLICIES_OLD={\"deny\":3,\"silent\":true}\n"
                        "ACCOUNTPOLICIES_NEW={\"deny\":5,\"dir\":\"/var/lib/x\"}\n"
                        "ACCOUNTPOLICIES_OPTIONS={\"on\":true}\n"
                        "ACCOUNTPOLICIES_OLD_FORCE=none\n"
                        "ACCOUNTPOLICIES_NEW_FORCE=profiles\n"
                        "ACCOUNTPOLICIES_OUTCOME=done\n"
                        "ACCOUNTPOLICIES_REASON="));
    QCOMPARE(journal.next(), QByteArrayList{QByteArray()});
}

void JournalEntryTest::tellsWhyNothingCameOfIt()
{
    const JournalSocket journal;
    writeToJournal({{QStringLiteral(":1.7"), 0, 1, {}},
                    QStringLiteral("unlock"),
                    QStringLiteral("account alice"),
                    {},
                    {},
                    QStringLiteral("Failed"),
                    QStringLiteral("no such file")});

    QCOMPARE(journal.next().join('\n'),
             QByteArray("MESSAGE=User 0, unlock, account alice: Failed, no such file\n"
                        "MESSAGE_ID=b6e1f2a3c7d84e5f9a0b1c2d3e4f5061\n"
                        "PRIORITY=4\n"
                        "ACCOUNTPOLICIES_ACTION=unlock\n"
                        "ACCOUNTPOLICIES_SUBJECT=account alice\n"
                        "ACCOUNTPOLICIES_CALLER_UID=0\n"
                        "ACCOUNTPOLICIES_CALLER_LOGINUID=\n"
                        "ACCOUNTPOLICIES_CALLER_PID=1\n"
                        "ACCOUNTPOLICIES_OLD={}\n"
                        "ACCOUNTPOLICIES_NEW={}\n"
                        "ACCOUNTPOLICIES_OPTIONS={}\n"
                        "ACCOUNTPOLICIES_OLD_FORCE=\n"
                        "ACCOUNTPOLICIES_NEW_FORCE=\n"
                        "ACCOUNTPOLICIES_OUTCOME=Failed\n"
                        "ACCOUNTPOLICIES_REASON=no such file"));
}

/// A field with a line's end is sent with its length, so that nobody can forge another one.
void JournalEntryTest::keepsFieldsApart()
{
    const JournalSocket journal;
    writeToJournal(
        {{}, QStringLiteral("unlock"), QStringLiteral("account a\nPRIORITY=0"), {}, {}, QStringLiteral("done"), {}});

    const QByteArray name = "ACCOUNTPOLICIES_SUBJECT";
    const QByteArray content = "account a\nPRIORITY=0";
    const QByteArray size = char(content.size()) + QByteArray(7, '\0');
    const QByteArray expected = name + '\n' + size + content + "\nACCOUNTPOLICIES_CALLER_UID=0";
    const QByteArray sent = journal.next().join('\n');
    QCOMPARE(sent.mid(sent.indexOf(name), expected.size()), expected);
}

QTEST_GUILESS_MAIN(JournalEntryTest)
#include "JournalEntryTest.moc"
