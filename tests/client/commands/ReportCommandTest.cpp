// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Reports of this process, in which the encoding of the locale is another: Debian's Qt takes UTF-8 for that of every locale.

#include "client/commands/CommandLine.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// The title of the page that the command writes there.
QByteArray titleOfReport(const QString &path)
{
    // a pipe takes the page, which is shorter than what a pipe holds
    const int pipe = open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const ExitCode end = runCommandLine({QStringLiteral("accountpolicyctl"), QStringLiteral("report"), path});
    QByteArray page(65536, '\0');
    page.resize(static_cast<int>(qMax<ssize_t>(0, read(pipe, page.data(), 65536))));
    close(pipe);
    const auto begin = page.indexOf("<title>");
    return end == ExitCode::Done ? page.mid(begin, page.indexOf('\n', begin) - begin) : "failed";
}
}

class ReportCommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void writesUtf8WhateverTheLocale();
};

void ReportCommandTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    // a name that needs more than ASCII, for this process alone
    QCOMPARE(unshare(CLONE_NEWUTS), 0);
    QCOMPARE(sethostname("h\xfclle", 5), 0);
}

void ReportCommandTest::writesUtf8WhateverTheLocale()
{
    writeContent(QStringLiteral("/run/page.html"), {});
    QCOMPARE(mkfifo("/run/pipe", 0600), 0);
    const ScopedLatin1 locale;

    for (const QString &path : {QStringLiteral("/run/page.html"), QStringLiteral("/run/pipe")}) {
        QCOMPARE(titleOfReport(path), QByteArray("<title>Account policies of h\xc3\xbclle</title>"));
    }
}

QTEST_GUILESS_MAIN(ReportCommandTest)
#include "ReportCommandTest.moc"
