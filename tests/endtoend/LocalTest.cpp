// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client that changes policies by itself, for root and without the helper: LocalTest.answers, and what needs more than
// a shell.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Sessions.h"

#include <QTest>

class LocalTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void startsNoHelper();
};

void LocalTest::startsNoHelper()
{
    endHelper();

    QCOMPARE(client(root, "set complexity minlen=12 --local"), success("complexity: in force\n"));
    QCOMPARE(client(root, "export --local").exitCode, 0);

    QCOMPARE(helperProcess(), qint64(0));
    QCOMPARE(client(nobody, "show complexity minlen"), success("12\n"));
    QVERIFY(helperProcess() != 0);
}

QTEST_GUILESS_MAIN(LocalTest)
#include "LocalTest.moc"
