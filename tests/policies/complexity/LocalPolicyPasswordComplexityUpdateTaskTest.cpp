// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"

#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QTest>

namespace
{
const QString minlen = QStringLiteral("minlen");
const QString cracklib = QStringLiteral("/usr/share/pam-configs/cracklib");
const QString pwquality = QStringLiteral("/usr/share/pam-configs/pwquality");
const QString commonPassword = QStringLiteral("/etc/pam.d/common-password");
const QVariantMap twelve{{minlen, 12}};

const QByteArray oldCracklib("Password:\n\trequisite pam_cracklib.so retry=3 minlen=8 use_authtok\n");
const QByteArray newCracklib("Password:\nrequisite pam_cracklib.so retry=3 use_authtok minlen=12\n");
const QByteArray oldPwquality("Password:\n\trequisite pam_pwquality.so retry=3 minlen=8\n");
const QByteArray newPwquality("Password:\nrequisite pam_pwquality.so retry=3 minlen=12\n");
const QByteArray
    oldStack("password pam_cracklib.so minlen=8 a\npassword pam_pwquality.so minlen=9\npam_tally.so minlen=8\n");
const QByteArray
    newStack("password pam_cracklib.so  a minlen=12\npassword pam_pwquality.so  minlen=12\npam_tally.so minlen=8\n");

QStringList outcomeOfUpdate(const QVariantMap &arguments = twelve)
{
    LocalPolicyPasswordComplexityUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList success(const QString &notice = QString())
{
    return expectedOutcome(TaskState::Succeeded, notice, twelve);
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, twelve);
}

/// Null content means that there is no such profile.
FolderContent profilesOf(const QByteArray &cracklibContent, const QByteArray &pwqualityContent)
{
    FolderContent content;
    if (!cracklibContent.isNull()) {
        content.insert(QStringLiteral("cracklib"), cracklibContent);
    }
    if (!pwqualityContent.isNull()) {
        content.insert(QStringLiteral("pwquality"), pwqualityContent);
    }
    return content;
}

void writeFiles(const QByteArray &cracklibContent = oldCracklib, const QByteArray &pwqualityContent = oldPwquality)
{
    const FolderContent profiles = profilesOf(cracklibContent, pwqualityContent);
    for (auto file = profiles.cbegin(); file != profiles.cend(); ++file) {
        writeContent(PamSystem::profile(file.key()), file.value());
    }
    writeContent(commonPassword, oldStack);
}

FolderContent stackOf(const QByteArray &content)
{
    return {{QStringLiteral("common-password"), content}};
}

QString temporary(const QString &path)
{
    return path + QStringLiteral(".tmp");
}

QString leftover(const QString &path)
{
    return QStringLiteral("\"%1.tmp\" error 9\nDevice or resource busy").arg(path);
}
}

/// What is not common to all policies of PAM; for that see PamUpdateTasksTest.
class LocalPolicyPasswordComplexityUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void rewritesProfilesThatExist_data();
    void rewritesProfilesThatExist();
    void failsWithoutProfileOrModule_data();
    void failsWithoutProfileOrModule();
    void keepsFirstProfileIfSecondFails();
    void findsProfilesBeforeItWrites();
    void reportsTemporaryFilesThatStay();
    void failureOfSecondProfileFollowsNoticeOfFirst();
    void appliesBothProfilesAtOnce();
    void realToolPutsOptionsIntoStack();
};

void LocalPolicyPasswordComplexityUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    // for the messages of cp, where it is found, and so that the real tool has nobody to ask
    qputenv("LC_ALL", "C");
    qputenv("PATH", "/usr/sbin:/usr/bin");
    qputenv("DEBIAN_FRONTEND", "noninteractive");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rewritesProfilesThatExist_data()
{
    const Rows<QByteArray, QByteArray, QByteArray, QByteArray> row(
        "cracklibBefore", "pwqualityBefore", "cracklibAfter", "pwqualityAfter");
    const QByteArray none;
    const QByteArray other("Password:\n\trequisite pam_unix.so minlen=8\n");
    row("both", oldCracklib, oldPwquality, newCracklib, newPwquality);
    row("only cracklib", oldCracklib, none, newCracklib, none);
    row("only pwquality", none, oldPwquality, none, newPwquality);
    row("module only in the first", oldCracklib, other, newCracklib, other);
    row("second is empty", oldCracklib, "", newCracklib, "");
    row("each with the other's module", oldPwquality, oldCracklib, newPwquality, newCracklib);
    row("both modules on one line",
        "pam_pwquality.so minlen=1 pam_cracklib.so minlen=2 a\n",
        none,
        "pam_pwquality.so minlen=1 pam_cracklib.so a minlen=12\n",
        none);
    row("both modules in one", oldPwquality + oldCracklib, none, newPwquality + newCracklib, none);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rewritesProfilesThatExist()
{
    QFETCH(QByteArray, cracklibBefore);
    QFETCH(QByteArray, pwqualityBefore);
    QFETCH(QByteArray, cracklibAfter);
    QFETCH(QByteArray, pwqualityAfter);
    const PamSystem system;
    writeFiles(cracklibBefore, pwqualityBefore);
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(system.profiles(), profilesOf(cracklibAfter, pwqualityAfter));
    QCOMPARE(system.stacks(), stackOf(newStack));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsWithoutProfileOrModule_data()
{
    const QByteArray none;
    const QByteArray other("Password:\n\trequisite pam_unix.so minlen=8\r\n#pam_cracklib.so\n#pam_pwquality.so\n");
    const QByteArray inFirst("\"%1\" not contain \"pam_cracklib\"");
    const QString missing = QStringLiteral("\"/usr/share/pam-configs/cracklib\" not contain \"pam_cracklib\"");
    // cracklib, pwquality
    const Rows<QByteArray, QByteArray, QByteArray, RowText> row("first", "second", "source", "message");
    // clang-format off
    row("no profiles", none, none, "Both profiles of supported PAM modules do not exist (%1, %2)",
        "Both profiles of supported PAM modules do not exist "
        "(/usr/share/pam-configs/cracklib, /usr/share/pam-configs/pwquality)");
    row("only pwquality, without", none, other, "\"%1\" not contain \"pam_pwquality\"",
        "\"/usr/share/pam-configs/pwquality\" not contain \"pam_pwquality\"");
    row("only cracklib, without", other, none, inFirst, missing);
    row("in neither", other, other, inFirst, missing);
    row("not in the first of both", other, oldPwquality, inFirst, missing);
    // clang-format on
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsWithoutProfileOrModule()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const PamSystem system;
    writeFiles(first, second);
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfUpdate(), failure(QLatin1Char('[') + message + QLatin1Char(']')));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({"LocalPolicyPasswordComplexityUpdateTask"}));
    QCOMPARE(system.profiles(), profilesOf(first, second));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsFirstProfileIfSecondFails()
{
    const PamSystem system;
    writeFiles();
    const ScopedMount mounted = ScopedMount::readOnly(pwquality);
    QCOMPARE(
        outcomeOfUpdate(),
        failure(QStringLiteral("Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/pwquality.tmp "
                               "/usr/share/pam-configs/pwquality\". ")
                + failureOfCp("cannot remove '/usr/share/pam-configs/pwquality': Device or resource busy")));
    FolderContent profiles = profilesOf(newCracklib, oldPwquality);
    profiles.insert(QStringLiteral("pwquality.tmp"), newPwquality);
    QCOMPARE(system.profiles(), profiles);
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::findsProfilesBeforeItWrites()
{
    const PamSystem system;
    writeFiles();
    // a cp that takes the second profile away while the first is being rewritten
    const QByteArray path = qgetenv("PATH");
    writeProgram(QStringLiteral("/run/tmp/bin/cp"),
                 "#!/bin/sh\nrm -f /usr/share/pam-configs/pwquality\nexec /usr/bin/cp \"$@\"\n");
    qputenv("PATH", "/run/tmp/bin:" + path);
    const QStringList outcome = outcomeOfUpdate();
    qputenv("PATH", path);
    QCOMPARE(outcome, failure(QStringLiteral("\"/usr/share/pam-configs/pwquality\" not exists")));
    QCOMPARE(system.profiles(), profilesOf(newCracklib, QByteArray()));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::reportsTemporaryFilesThatStay()
{
    const PamSystem system;
    writeFiles();
    system.setToolScript("printf ' warning \\n' >&2\n");
    writeContent(temporary(cracklib), "");
    writeContent(temporary(pwquality), "");
    const ScopedMount firstPinned = ScopedMount::pinned(temporary(cracklib));
    const ScopedMount secondPinned = ScopedMount::pinned(temporary(pwquality));
    QCOMPARE(outcomeOfUpdate(),
             success(leftover(cracklib) + QLatin1Char('\n') + leftover(pwquality) + QStringLiteral("\n warning \n")));
    QCOMPARE(contentOf(cracklib), newCracklib);
    QCOMPARE(contentOf(pwquality), newPwquality);
    QCOMPARE(system.stacks(), stackOf(newStack));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failureOfSecondProfileFollowsNoticeOfFirst()
{
    const PamSystem system;
    writeFiles();
    writeContent(temporary(cracklib), "");
    const ScopedMount pinned = ScopedMount::pinned(temporary(cracklib));
    QVERIFY(QDir().mkdir(temporary(pwquality)));
    QCOMPARE(outcomeOfUpdate(),
             failure(leftover(cracklib)
                     + QStringLiteral("\n\"/usr/share/pam-configs/pwquality.tmp\" error 5\nIs a directory")));
    QCOMPARE(contentOf(cracklib), newCracklib);
    QCOMPARE(contentOf(pwquality), oldPwquality);
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::appliesBothProfilesAtOnce()
{
    const PamSystem system;
    writeFiles();
    // what the tool finds
    system.setToolScript("cat /usr/share/pam-configs/* /etc/pam.d/* > /run/tmp/seen\nexit 1\n");
    QCOMPARE(outcomeOfUpdate(),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n\"\"")));
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), newCracklib + newPwquality + oldStack);
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::realToolPutsOptionsIntoStack()
{
    QVERIFY(!QFile::exists(cracklib));
    const QByteArray stock("\trequisite\t\t\tpam_pwquality.so retry=3");
    QCOMPARE(linesWith("pam_pwquality", pwquality), QByteArrayList({stock, stock}));
    const QVariantMap arguments{{minlen, 12}, {QStringLiteral("dcredit"), -1}, {QStringLiteral("gecoscheck"), true}};
    QCOMPARE(outcomeOfUpdate(arguments), expectedOutcome(TaskState::Succeeded, QString(), arguments));
    const QByteArray line("requisite\t\t\tpam_pwquality.so retry=3 gecoscheck minlen=12 dcredit=-1");
    QCOMPARE(linesWith("pam_pwquality", pwquality), QByteArrayList({line, line}));
    QCOMPARE(linesWith("pam_pwquality", commonPassword), QByteArrayList{"password\t" + line});

    // the tool merges what was edited by hand with the profile
    writeContent(commonPassword, contentOf(commonPassword).replace("minlen=12", "minlen=9"));
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(linesWith("pam_pwquality", commonPassword),
             QByteArrayList{"password\trequisite\t\t\tpam_pwquality.so retry=3  minlen=12"});
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordComplexityUpdateTaskTest)
#include "LocalPolicyPasswordComplexityUpdateTaskTest.moc"
