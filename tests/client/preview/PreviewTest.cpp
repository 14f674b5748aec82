// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// That a preview is what the write leaves: tests/differential/PreviewedWritesTest.cpp. Here is what goes beside that.

#include "client/preview/Preview.h"

#include "client/preview/ModulePreview.h"
#include "client/preview/PreviewReport.h"
#include "policies/modules/ModulePolicy.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/AsNobody.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

namespace
{
constexpr char tool[] = "/usr/sbin/pam-auth-update";
constexpr char profile[] = "/usr/share/pam-configs/pwquality";
constexpr char authStack[] = "/etc/pam.d/common-auth";
constexpr char passwordStack[] = "/etc/pam.d/common-password";

Preview previewAsNobody(const char *policy, const QVariantMap &wanted)
{
    const AsNobody caller;
    return previewOf(QString::fromLatin1(policy), wanted);
}

Preview lengthOfTwelve()
{
    return previewAsNobody("complexity", {{QStringLiteral("minlen"), 12}});
}

QStringList pathsOf(const Preview &preview)
{
    QStringList paths;
    for (const FilePreview &file : preview.files) {
        paths += file.path;
    }
    return paths;
}

void insert(const char *path, const QByteArray &before, const QByteArray &line)
{
    QByteArray content = contentOf(path);
    QCOMPARE(content.count(before), 1);
    writeContent(path, content.replace(before, line + '\n' + before));
}

QStringList foldersOfCopies()
{
    return QDir(QStringLiteral("/run/tmp")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

/// Each signal that has come, with the folders that were left then.
QStringList interrupts;

void noteInterrupt(int signal)
{
    interrupts += QString::number(signal) + foldersOfCopies().join(QLatin1Char(' '));
}
}

class PreviewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void showsAllFilesThatChange_data();
    void showsAllFilesThatChange();
    void changesNothing();
    void runsTheToolOnce();
    void takesAnInterruptOnceItsCopiesAreGone_data();
    void takesAnInterruptOnceItsCopiesAreGone();
    void leavesAnIgnoredHangUpAlone();
    void waitsForNoOtherUserOfDebconf();
    void tellsWhatWouldBeLost();
    void findsNothingLostWhereEverythingStays();
    void findsNothingLostWhereAProfileHasChanged();
    void tellsTheFailureOfTheWrite_data();
    void tellsTheFailureOfTheWrite();
    void failsWithoutAFolderForTheCopies();
    void failsWhereAFileCannotBeRead_data();
    void failsWhereAFileCannotBeRead();

private:
    PamState m_stock;
    QByteArray m_tool = contentOf(tool);
};

void PreviewTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PreviewTest::init()
{
    m_stock.restore();
    writeProgram(tool, m_tool);
    writeContent("/etc/login.defs", "PASS_MAX_DAYS 90\n");
    writeContent("/etc/default/useradd", "INACTIVE=-1\n");
}

void PreviewTest::cleanup()
{
    QFile::setPermissions(QString::fromLatin1(profile), QFile::Permissions(0x6644));
    QFile::setPermissions(QString::fromLatin1(authStack), QFile::Permissions(0x6644));
    QFile::setPermissions(QStringLiteral("/etc/login.defs"), QFile::Permissions(0x6644));
}

void PreviewTest::showsAllFilesThatChange_data()
{
    const Rows<QByteArray, QVariantMap, QStringList> row("policy", "wanted", "paths");
    row("stack and profile",
        "complexity",
        {{QStringLiteral("minlen"), 12}},
        {QString::fromLatin1(profile), QString::fromLatin1(passwordStack)});
    row("defaults of accounts",
        "expiration",
        {{QStringLiteral("maxInterval"), 90}, {QStringLiteral("inactiveInterval"), 7}},
        {QStringLiteral("/etc/default/useradd")});
    row("both files",
        "expiration",
        {{QStringLiteral("maxInterval"), 91}},
        {QStringLiteral("/etc/login.defs"), QStringLiteral("/etc/default/useradd")});
}

void PreviewTest::showsAllFilesThatChange()
{
    QFETCH(QByteArray, policy);
    QFETCH(QVariantMap, wanted);

    const Preview preview = previewAsNobody(policy.constData(), wanted);

    QCOMPARE(preview.outcome.error, QString());
    QTEST(pathsOf(preview), "paths");
}

void PreviewTest::changesNothing()
{
    const ProgramResult marked = runAs(root, "touch /run/tmp/mark");
    QTest::qSleep(1100); // longer than any file system's unit of time

    QVERIFY(lengthOfTwelve().outcome.succeeded());
    QVERIFY(previewAsNobody("expiration", {}).outcome.succeeded());
    QVERIFY(previewOf(QStringLiteral("complexity"), {{QStringLiteral("minlen"), 12}}).outcome.succeeded());

    QCOMPARE(marked, ProgramResult({0, {}, {}}));
    QCOMPARE(runAs(root, "find /etc /usr /var -newer /run/tmp/mark"), ProgramResult({0, {}, {}}));
    QCOMPARE(foldersOfCopies(), QStringList());
}

void PreviewTest::runsTheToolOnce()
{
    writeProgram(tool, "#!/bin/sh\necho \"$2\" >>/run/tmp/runs\n");
    writeContent("/run/tmp/runs", "");
    chmod("/run/tmp/runs", 0666);

    QVERIFY(lengthOfTwelve().outcome.succeeded());
    QVERIFY(previewAsNobody("expiration", {}).outcome.succeeded());

    QCOMPARE(contentOf("/run/tmp/runs").count('\n'), 1);
}

void PreviewTest::takesAnInterruptOnceItsCopiesAreGone_data()
{
    const Rows<QByteArray, int> row("policy", "signal");
    row("Ctrl-C", "complexity", SIGINT);
    row("kill", "complexity", SIGTERM);
    row("closed terminal, policy of a module", "faillock", SIGHUP);
}

void PreviewTest::takesAnInterruptOnceItsCopiesAreGone()
{
    QFETCH(QByteArray, policy);
    QFETCH(int, signal);
    for (const char *name : {"accountpolicies-faillock", "accountpolicies-faillock-preauth"}) {
        writeContent(QStringLiteral("/usr/share/pam-configs/") + QLatin1String(name),
                     contentOf(QStringLiteral(SOURCES "/profiles/") + QLatin1String(name)));
    }
    // Ctrl-C reaches the tool, too
    writeProgram(tool, "#!/bin/sh\nkill -" + QByteArray::number(signal) + " $PPID $$\n");
    struct sigaction noting = {};
    noting.sa_handler = noteInterrupt;
    struct sigaction before = {};
    QCOMPARE(sigaction(signal, &noting, &before), 0);
    interrupts.clear();

    const Preview preview =
        policy == "faillock" ? modulePreviewOf(faillockPolicy(), {}) : previewOf(QString::fromLatin1(policy), {});
    sigaction(signal, &before, nullptr);

    QCOMPARE(int(preview.outcome.code), int(ExitCode::Failed));
    QCOMPARE(interrupts, QStringList{QString::number(signal)});
}

void PreviewTest::leavesAnIgnoredHangUpAlone()
{
    writeProgram(tool, "#!/bin/sh\nkill -HUP $PPID $$\n");
    const auto before = ::signal(SIGHUP, SIG_IGN);

    const Preview preview = lengthOfTwelve();
    const auto after = ::signal(SIGHUP, before);

    QVERIFY(after == SIG_IGN);
    QVERIFY2(preview.outcome.succeeded(), qPrintable(preview.outcome.error));
}

void PreviewTest::waitsForNoOtherUserOfDebconf()
{
    QProcess holder;
    holder.start(QStringLiteral("flock"),
                 {QStringLiteral("/var/cache/debconf/config.dat"),
                  QStringLiteral("sh"),
                  QStringLiteral("-c"),
                  QStringLiteral("echo held; cat")});
    QVERIFY(holder.waitForReadyRead());

    const Preview preview = lengthOfTwelve();
    holder.closeWriteChannel();
    QVERIFY(holder.waitForFinished());

    QCOMPARE(preview.outcome.error, QString());
}

void PreviewTest::tellsWhatWouldBeLost()
{
    insert(authStack, "# here's the fallback", "auth required pam_faillock.so preauth");
    insert(passwordStack, "# here's the fallback", "password required pam_pwhistory.so remember=5");
    insert(passwordStack, "# here's the fallback", "# ours");

    QCOMPARE(lostLinesText(lengthOfTwelve()),
             QStringLiteral("/etc/pam.d/common-auth: auth required pam_faillock.so preauth\n"
                            "/etc/pam.d/common-password: password required pam_pwhistory.so remember=5\n"
                            "/etc/pam.d/common-password: # ours"));
}

void PreviewTest::findsNothingLostWhereEverythingStays()
{
    insert(authStack, "# here are the per-package modules", "auth required pam_faillock.so preauth");
    writeContent(passwordStack, contentOf(passwordStack) + "# ours\npassword required pam_pwhistory.so remember=5\n");
    writeContent(passwordStack,
                 contentOf(passwordStack).replace("pam_unix.so obscure", "pam_unix.so obscure rounds=7000"));

    const Preview preview = lengthOfTwelve();

    QVERIFY(preview.outcome.succeeded());
    QCOMPARE(lostLinesText(preview), QString());
}

void PreviewTest::findsNothingLostWhereAProfileHasChanged()
{
    const QByteArray greeting = "Name: greeting\nDefault: yes\nPriority: 1\nSession-Type: Additional\nSession:\n"
                                "\toptional pam_echo.so file=/etc/hello\n";
    const char *const stack = "/etc/pam.d/common-session-noninteractive";
    writeContent("/usr/share/pam-configs/greeting", greeting);
    QCOMPARE(runAs(root, "pam-auth-update --package 2>/dev/null").exitCode, 0);
    QVERIFY(contentOf(stack).contains("file=/etc/hello"));
    writeContent("/usr/share/pam-configs/greeting", QByteArray(greeting).replace("hello", "welcome"));

    const Preview preview = lengthOfTwelve();

    QVERIFY(pathsOf(preview).contains(QString::fromLatin1(stack)));
    QCOMPARE(lostLinesText(preview), QString());
}

void PreviewTest::tellsTheFailureOfTheWrite_data()
{
    const Rows<QByteArray, QByteArray, RowText> row("profile", "tool", "error");
    row("profile without its module",
        "x\n",
        m_tool,
        "Update default password complexity policy\n\"/usr/share/pam-configs/pwquality\" not contain "
        "\"pam_pwquality\"");
    row("tool fails",
        "pam_pwquality.so\n",
        "#!/bin/sh\necho \"$2/etc/pam.d: no\" >&2; exit 3\n",
        "Update default password complexity policy\nProcess: \"/usr/sbin/pam-auth-update --force --package\". Exit "
        "code: "
        "3.\n\"/etc/pam.d: no\n\"");
    row("tool is missing",
        "pam_pwquality.so\n",
        "",
        "Update default password complexity policy\nProcess: \"/usr/sbin/pam-auth-update --force --package\". Error: "
        "execve: No such file or directory.\n\"Not started\"");
}

void PreviewTest::tellsTheFailureOfTheWrite()
{
    QFETCH(QByteArray, profile);
    QFETCH(QByteArray, tool);
    writeContent(::profile, profile);
    if (tool.isEmpty()) {
        QFile::remove(QString::fromLatin1(::tool));
    } else {
        writeProgram(::tool, tool);
    }

    const Preview preview = lengthOfTwelve();

    QCOMPARE(int(preview.outcome.code), int(ExitCode::Failed));
    QTEST(preview.outcome.error, "error");
}

void PreviewTest::failsWithoutAFolderForTheCopies()
{
    const ScopedVariable place("TMPDIR", "/dev/null");
    const QByteArray before = contentOf(profile);

    for (const QString &policy : {QStringLiteral("complexity"), QStringLiteral("expiration")}) {
        QCOMPARE(previewOf(policy, {}).outcome.error,
                 QStringLiteral("what the change would leave cannot be known\n/dev/null: Not a directory"));
    }
    QCOMPARE(contentOf(profile), before);
    QCOMPARE(contentOf("/etc/login.defs"), QByteArray("PASS_MAX_DAYS 90\n"));
}

void PreviewTest::failsWhereAFileCannotBeRead_data()
{
    const Rows<QByteArray, QByteArray> row("policy", "path");
    row("profile", "complexity", profile);
    row("stack of another policy", "complexity", authStack);
    row("file of settings", "expiration", "/etc/login.defs");
}

void PreviewTest::failsWhereAFileCannotBeRead()
{
    QFETCH(QByteArray, policy);
    QFETCH(QByteArray, path);
    QVERIFY(QFile::setPermissions(QString::fromLatin1(path), QFile::ReadOwner | QFile::WriteOwner));

    QCOMPARE(previewAsNobody(policy.constData(), {}).outcome.error,
             QStringLiteral("what the change would leave cannot be known\n%1: Permission denied")
                 .arg(QString::fromLatin1(path)));
    QVERIFY(previewOf(QString::fromLatin1(policy), {}).outcome.succeeded());
}

QTEST_GUILESS_MAIN(PreviewTest)
#include "PreviewTest.moc"
