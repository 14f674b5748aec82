// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The manual pages as installed: well formed, complete, and with examples that work.

#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

namespace
{
const QString clientPage = QStringLiteral("/usr/share/man/man1/accountpolicyctl.1");
const QString helperPage = QStringLiteral("/usr/share/man/man8/accountpolicieshelper.8");

/// The page as it was written, packed or not.
QByteArray sourceOf(const QString &page)
{
    const QString unpack = QStringLiteral("zcat --force %1 || zcat %1.gz").arg(page);
    return runAs(nobody, QStringLiteral("sh"), {QStringLiteral("-c"), unpack}).standardOutput;
}

/// The page as a reader sees it, without emphasis.
QString readable(const QString &page)
{
    const ProgramResult shown = runAs(
        nobody, QStringLiteral("mandoc"), splitWords(QStringLiteral("-T ascii -O width=200 ")) + QStringList{page});
    return QString::fromLatin1(shown.standardOutput).remove(QRegularExpression(QStringLiteral(".\b")));
}

/// What the first capture of the pattern finds in the text, in order.
QStringList found(const QString &text, const QString &pattern)
{
    QStringList all;
    QRegularExpressionMatchIterator matches =
        QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
    while (matches.hasNext()) {
        all += matches.next().captured(1);
    }
    return all;
}

QString help(const QString &words)
{
    return QString::fromUtf8(client(nobody, words).standardOutput);
}

/// Of each policy that has such a setting.
QStringList explanationsOf(const QString &key)
{
    QStringList texts;
    for (const Policy &policy : allPolicies()) {
        if (const Setting *setting = policy.schema.find(key)) {
            texts += explanationText(*setting);
        }
    }
    return texts;
}

QStringList examples()
{
    return found(QString::fromUtf8(sourceOf(clientPage)), QStringLiteral("^\\.Dl (.+)$"));
}
}

class ManualPagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void areWellFormed();
    void areFoundByWhatTheyAreAbout_data();
    void areFoundByWhatTheyAreAbout();
    void pointToWhatElseDecides();
    void nameEachCommandAndOption();
    void explainEachSetting();
    void nameEachAction();
    void nameEachKeyOnTheBus();
    void haveExamplesThatWork();

private:
    PamState m_stockPam;
};

void ManualPagesTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ManualPagesTest::areWellFormed()
{
    for (const QString &page : {clientPage, helperPage}) {
        const ProgramResult lint = runAs(
            nobody, QStringLiteral("mandoc"), splitWords(QStringLiteral("-T lint -W warning ")) + QStringList{page});
        QCOMPARE(lint.standardOutput + lint.standardError, QByteArray());
        QCOMPARE(lint.exitCode, 0);
        QVERIFY(!sourceOf(page).isEmpty());
        QCOMPARE(sourceOf(page).count('@'), 0); // no place is left to be filled
    }
}

void ManualPagesTest::areFoundByWhatTheyAreAbout_data()
{
    QTest::addColumn<QString>("subject");
    for (const char *subject : {"lockout", "password policy", "password expiration", "account policies"}) {
        QTest::newRow(subject) << QString::fromLatin1(subject);
    }
}

void ManualPagesTest::areFoundByWhatTheyAreAbout()
{
    QFETCH(QString, subject);
    const QString folder = QStringLiteral("/run/man");
    for (const QString &page : {clientPage, helperPage}) {
        QString path = page;
        path.replace(QLatin1String("/usr/share/man"), folder);
        QDir().mkpath(QFileInfo(path).path());
        writeContent(path, sourceOf(page));
    }
    QCOMPARE(runAs(root, QStringLiteral("makewhatis"), {folder}).exitCode, 0);

    const ProgramResult pages = runAs(nobody, QStringLiteral("mapropos"), {QStringLiteral("-M"), folder, subject});

    QCOMPARE(found(QString::fromUtf8(pages.standardOutput), QStringLiteral("^([a-z]+\\([0-9]\\)) - ")),
             QStringList({QStringLiteral("accountpolicyctl(1)"), QStringLiteral("accountpolicieshelper(8)")}));
}

void ManualPagesTest::pointToWhatElseDecides()
{
    for (const QString &page : {clientPage, helperPage}) {
        const QString seeAlso =
            readable(page).section(QStringLiteral("SEE ALSO"), -1).section(QStringLiteral("BUGS"), 0, 0);
        const QStringList pages = found(seeAlso, QStringLiteral("([a-z_.-]+\\([0-9]\\))"));
        for (const char *other : {"faillock(8)", "pwquality.conf(5)", "pam-auth-update(8)", "pam_pwquality(8)"}) {
            QVERIFY2(pages.contains(QLatin1String(other)), qPrintable(page + QLatin1Char(' ') + QLatin1String(other)));
        }
    }
}

void ManualPagesTest::nameEachCommandAndOption()
{
    const QString page = readable(clientPage);
    const QStringList commands = found(help(QStringLiteral("--help")), QStringLiteral("^  ([a-z]+)( |$)"));
    QCOMPARE(commands.size(), 13);
    for (const QString &command : commands) {
        QVERIFY2(!found(page, QStringLiteral("^ +(%1)( |$)").arg(command)).isEmpty(), qPrintable(command));
        const QStringList options = found(help(command + QStringLiteral(" --help")), QStringLiteral("(--[a-z-]+)"));
        QVERIFY(options.contains(QStringLiteral("--help")));
        for (const QString &option : options) {
            QVERIFY2(!found(page, QStringLiteral("^ +(?:-[a-zA-Z], )?(%1)( |$)").arg(option)).isEmpty(),
                     qPrintable(option));
        }
    }
}

void ManualPagesTest::explainEachSetting()
{
    const QString page = readable(clientPage);
    for (const Policy &policy : allPolicies()) {
        for (const Setting &setting : policy.schema.settings) {
            const QString line = QStringLiteral("^ +%1 +(.*)$").arg(setting.key);
            QCOMPARE(found(page, line), explanationsOf(setting.key));
        }
    }
}

void ManualPagesTest::nameEachAction()
{
    const QString page = readable(helperPage);
    for (const Policy &policy : policiesOfHelper()) {
        const QString actions =
            QStringLiteral("%1, %2").arg(QLatin1String(policy.readAction), QLatin1String(policy.writeAction));
        QCOMPARE(found(page, QStringLiteral("^ +(%1)$").arg(actions)), QStringList{actions});
    }
}

void ManualPagesTest::nameEachKeyOnTheBus()
{
    QStringList types;
    const QRegularExpression typePattern(QStringLiteral(" \\(([^)]*)\\)"));
    QStringList lists = found(readable(helperPage), QStringLiteral("^ +the (?:options|defaults) .*: (.*)$"));
    QCOMPARE(lists.size(), policiesOfHelper().size());
    for (const Policy &policy : policiesOfHelper()) {
        QString list = lists.takeFirst();
        types += found(list, typePattern.pattern());
        QCOMPARE(list.remove(typePattern).split(QStringLiteral(", ")), policy.schema.keys());
    }
    types.removeDuplicates();
    QCOMPARE(types.join(QStringLiteral("; ")),
             QStringLiteral("bool; int, failed logins; int, seconds; int, characters; int, credits; int, days; "
                            "64-bit int, days since 1970-01-01"));
}

void ManualPagesTest::haveExamplesThatWork()
{
    QCOMPARE(runAs(root, QStringLiteral("useradd"), {QStringLiteral("-M"), QStringLiteral("alice")}).exitCode, 0);
    QDir().mkpath(QStringLiteral("/run/examples"));
    QVERIFY(QDir::setCurrent(QStringLiteral("/run/examples")));
    qputenv("XDG_STATE_HOME", "/run/examples");
    QCOMPARE(examples().size(), 15);

    // who reads goes on without a helper that needs more than 3 seconds, which a busy machine may take to start it
    const QByteArray late = "accountpolicyctl: the helper does not answer; the policies are read without it\n";
    for (const QString &example : examples()) {
        ProgramResult run{0, {}, late};
        while (run.standardError == late) {
            run = runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), example});
        }
        QVERIFY2(run.exitCode == 0, (example.toUtf8() + '\n' + run.standardError).constData());
        QCOMPARE(run.standardError, QByteArray());
    }
}

QTEST_GUILESS_MAIN(ManualPagesTest)
#include "ManualPagesTest.moc"
