// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/LibraryText.h"

#include "tests/support/Rows.h"

#include <QTest>

class LibraryTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hasTheWordsThatCallersKnow_data();
    void hasTheWordsThatCallersKnow();
};

void LibraryTextTest::hasTheWordsThatCallersKnow_data()
{
    const Rows<RowText, RowText> row("errorString", "text");
    // clang-format off
    row("program that can't be started", "Child process set up failed: execve: No such file", "execve: No such file");
    row("the same with Qt 5", "execve: No such file", "execve: No such file");
    row("copy that can't be created", "Cannot create /a b.bak for output: File exists", "Cannot create /a b.bak for output");
    row("the same with Qt 5", "Cannot create /a b.bak for output", "Cannot create /a b.bak for output");
    row("other text", "Failure to write block: full", "Failure to write block: full");
    row("not at the start", "x Cannot create y for output: z", "x Cannot create y for output: z");
    row("no text", "", "");
    // clang-format on
}

void LibraryTextTest::hasTheWordsThatCallersKnow()
{
    QFETCH(QString, errorString);
    QTEST(libraryText(errorString), "text");
}

QTEST_GUILESS_MAIN(LibraryTextTest)
#include "LibraryTextTest.moc"
