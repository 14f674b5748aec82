// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// System calls fail, one in each run, in a write of a policy and in the tools that it runs: all is done then, or nothing.

#include "policies/modules/ModuleReading.h"
#include "policies/modules/ModuleWriting.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"

#include <QFile>
#include <QTest>

namespace
{
/// All that a write may change but for debconf's answers, which go by their order in time.
FolderContent machine()
{
    FolderContent all;
    for (const char *folder : {"/etc/pam.d", "/etc/security", "/var/lib/pam"}) {
        const FolderContent below = contentBelow(QLatin1String(folder));
        for (auto file = below.begin(); file != below.end(); ++file) {
            all.insert(QLatin1String(folder) + QLatin1Char('/') + file.key(), *file);
        }
    }
    all.remove(QStringLiteral("/etc/security/.accountpolicies.lock")); // stays for the next write
    return all;
}

/// The paths of what isn't the same.
QByteArrayList differencesIn(const FolderContent &now, const FolderContent &expected)
{
    QByteArrayList differences;
    for (const QString &path : now.keys() + expected.keys()) {
        const bool isSame = now.contains(path) && expected.contains(path) && now.value(path) == expected.value(path);
        if (!isSame && !differences.contains(path.toUtf8())) {
            differences += path.toUtf8();
        }
    }
    return differences;
}

ModuleOutcome written(const ModulePolicy &policy)
{
    const QVariantMap values{{policy.settings.constFirst().name, 4LL}};
    return writeModule(policy, {values, ModuleWish::Switch::On, false});
}

/// Writes the policy in a process of its own, under strace(1) with an expression more.
ProgramResult writtenTraced(const QString &policy, const QString &call, const QString &expression)
{
    const QStringList arguments{QStringLiteral("-f"),
                                QStringLiteral("-e"),
                                QLatin1String("trace=") + call,
                                QStringLiteral("-e"),
                                expression,
                                QStringLiteral("-E"),
                                QLatin1String("WRITES=") + policy,
                                QCoreApplication::applicationFilePath()};
    return runAs(root, QStringLiteral("/usr/bin/strace"), arguments);
}
}

class WritingFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void doesAllOrNothing_data();
    void doesAllOrNothing();
};

void WritingFaultsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    for (const char *name :
         {"accountpolicies-faillock", "accountpolicies-faillock-preauth", "accountpolicies-pwhistory"}) {
        const QString profile = QLatin1String("/") + QLatin1String(name);
        writeContent(QLatin1String("/usr/share/pam-configs") + profile,
                     contentOf(QLatin1String(SOURCES "/profiles") + profile));
    }
    QCOMPARE(runAs(root, "mkdir -p /etc/security/pwquality.conf.d").exitCode, 0);
    // the records know the profiles from now on
    QCOMPARE(runAs(root, "env DEBIAN_FRONTEND=noninteractive pam-auth-update --package").exitCode, 0);
}

void WritingFaultsTest::doesAllOrNothing_data()
{
    const Rows<RowText, RowText, int> row("policy", "call", "fewestCalls");
    row("renaming for pam_faillock", "faillock", "rename", 11);
    row("syncing for pam_faillock", "faillock", "fsync", 2);
    row("starting programs for pam_faillock", "faillock", "execve", 3);
    row("syncing for pam_pwquality", "pwquality", "fsync", 2);
    row("changing modes for pam_pwquality", "pwquality", "fchmod", 1);
    row("renaming for pam_pwhistory", "pwhistory", "rename", 11);
}

void WritingFaultsTest::doesAllOrNothing()
{
    QFETCH(const QString, policy);
    QFETCH(const QString, call);
    QFETCH(const int, fewestCalls);
    const ModulePolicy &written = *modulePolicy(policy);
    const FolderContent before = machine();
    const auto putBack = [&] {
        QVERIFY(writeModule(written, {{}, ModuleWish::Switch::Off, false}).succeeded());
        for (auto file = before.begin(); file != before.end(); ++file) {
            if (!file.key().endsWith(QLatin1Char('/'))) {
                writeContent(file.key(), *file);
            }
        }
        QFile::remove(written.path + (before.contains(written.path) ? QStringLiteral(".none") : QString()));
        QCOMPARE(machine(), before);
    };
    const ProgramResult undisturbed = writtenTraced(policy, call, QLatin1String("trace=") + call);
    QCOMPARE(undisturbed.exitCode, 0);
    const FolderContent after = machine();
    QVERIFY(after != before);
    putBack();
    const int calls = int(undisturbed.standardError.count(call.toLatin1() + '('));
    QVERIFY2(calls >= fewestCalls, QByteArray::number(calls).constData());

    int failed = 0;
    // the first one starts what is traced
    for (int number = call == QLatin1String("execve") ? 2 : 1; number <= calls; ++number) {
        const ProgramResult disturbed = writtenTraced(
            policy, call, QStringLiteral("inject=%1:error=EIO:when=%2").arg(call, QString::number(number)));
        QVERIFY2(disturbed.exitCode == 0 || !disturbed.standardOutput.isEmpty(), disturbed.standardError.constData());
        const QByteArray told = differencesIn(machine(), disturbed.exitCode == 0 ? after : before).join(", ");
        // each process has its own fault, the one that puts files back, too: it says so
        const QByteArray start = "; not put back: ";
        const auto place = disturbed.standardOutput.indexOf(start);
        const QByteArray left = place == -1 ? QByteArray() : disturbed.standardOutput.mid(place + start.size());
        const QByteArray path = left.split(':').constFirst();
        QCOMPARE(told, path == "/var/cache/debconf/config.dat" ? QByteArray() : path);
        failed += disturbed.exitCode == 0 ? 0 : 1;
        putBack();
    }
    QVERIFY(failed > 0);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const ModulePolicy *policy = modulePolicy(qEnvironmentVariable("WRITES"));
    if (policy) {
        const ModuleOutcome outcome = written(*policy);
        fputs(qPrintable(outcome.reason), stdout);
        return outcome.succeeded() ? 0 : 1;
    }
    WritingFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "WritingFaultsTest.moc"
