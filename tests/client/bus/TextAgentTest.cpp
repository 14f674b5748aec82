// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/TextAgent.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QTest>

class TextAgentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void leavesNoFileOpen();
};

void TextAgentTest::initTestCase()
{
    // where it meets no bus, and ends at once
    QVERIFY2(inSandbox(), outsideSandbox);
}

void TextAgentTest::leavesNoFileOpen()
{
    const auto startAndEnd = [] {
        const TextAgent agent([] {});
    };
    // Qt may keep something of a first process
    startAndEnd();
    const QStringList before = openFiles();

    startAndEnd();

    QCOMPARE(openFiles(), before);
}

QTEST_GUILESS_MAIN(TextAgentTest)
#include "TextAgentTest.moc"
