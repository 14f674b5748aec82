// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The tab key in the three shells, on a terminal.

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TextRows.h"

#include <QDir>
#include <QFile>

namespace
{
struct Shell {
    const char *name;
    QStringList arguments;
    /// Typed before anything else.
    QByteArray setup;
};

QVector<Shell> shells()
{
    return {
        {"bash",
         {QStringLiteral("--norc"), QStringLiteral("--noprofile"), QStringLiteral("-i")},
         ". /usr/share/bash-completion/bash_completion"},
        {"zsh", {QStringLiteral("-f"), QStringLiteral("-i")}, "setopt bsd_echo; autoload -U compinit; compinit -u -D"},
        // what fish suggests of itself would be taken over at the end of the line
        {"fish",
         {QStringLiteral("--no-config"),
          QStringLiteral("--init-command"),
          QStringLiteral("set -g fish_autosuggestion_enabled 0; set -p fish_complete_path "
                         "/usr/share/fish/vendor_completions.d")},
         "true"},
    };
}

const QString lineFile = QStringLiteral("/run/completions/line");

/// Whether the shell takes what is typed.
bool getsReady(PseudoTerminal *terminal, const Shell &shell)
{
    terminal->type(shell.setup + " && echo rea''dy\r");
    return terminal->waitFor("ready");
}

/// The command line that the shell has after these keys.
QByteArray lineAfter(const Shell &shell, const QByteArray &keys)
{
    QFile::remove(lineFile);
    PseudoTerminal terminal(root, QString::fromLatin1(shell.name), shell.arguments);
    if (!getsReady(&terminal, shell)) {
        return "the shell is not ready: " + terminal.output();
    }
    // to the line's begin, and its end: the shell writes it into a file instead of running it
    terminal.type(keys
                  + "\x01"
                    "echo '\x05' > /run/completions/line.new; mv /run/completions/line.new "
                  + lineFile.toLatin1() + '\r');
    for (int i = 0; i < 100 && !QFile::exists(lineFile); ++i) {
        terminal.waitFor("never printed", 50);
    }
    return QFile::exists(lineFile) ? contentOf(lineFile) : "nothing was written: " + terminal.output();
}
}

class CompletionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void completes_data();
    void completes();
    void describes_data();
    void describes();
};

void CompletionsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QCOMPARE(runAs(root, QStringLiteral("useradd"), {QStringLiteral("-M"), QStringLiteral("policytester")}).exitCode,
             0);
    // names of other databases have blanks, and what a shell obeys; what has a line end or controls a terminal is not
    // offered
    writeContent(QStringLiteral("/etc/passwd"),
                 contentOf(QStringLiteral("/etc/passwd"))
                     + "corp+jim doe;x:x:4322:4322::/:/bin/sh\ncorp\x1b[31m:x:4323:4323::/:/bin/sh\n"
                       "corp\tx:x:4325:4325::/:/bin/sh\n"
                       "domain\\jim:x:4324:4324::/:/bin/sh\n");
    writeContent(QStringLiteral("/run/completions/policies.json"), "{}");
    QVERIFY(QDir::setCurrent(QStringLiteral("/run/completions")));
    qputenv("HOME", "/run/completions");
    qputenv("TERM", "xterm");
}

void CompletionsTest::completes_data()
{
    QTest::addColumn<int>("shell");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QByteArray>("line");

    // with the letter that is typed next, which shows whether a blank stands before it
    const QStringList rows = linesOf(R"(
exp => export x
show lock => show lockout x
set compl => set complexity x
set lockout den => set lockout deny=x
set lockout deny=3 unl => set lockout deny=3 unlock_time=x
set lockout per_user=y => set lockout per_user=yes x
user policytes => user policytester x
user corp => user corp+jim\ doe\;x x
set expiration maxInterval=n => set expiration maxInterval=never x
set expiration maxInt => set expiration maxInterval=x
help sh => help show x
set user policytester maxI => set user policytester maxInterval=x
set --repl => set --replace x
apply poli => apply policies.json x
export x => export xx
)");
    // fish would make one of two backslashes where the line is written
    for (int shell : {0, 1}) {
        QTest::addRow("%s: backslash", shells().at(shell).name)
            << shell << QByteArray("user domain") << QByteArray("user domain\\\\jim x");
    }
    for (int shell = 0; shell < shells().size(); ++shell) {
        for (const QString &row : rows) {
            const QStringList cells = row.split(QStringLiteral(" => "));
            QTest::addRow("%s: %s", shells().at(shell).name, qPrintable(cells.first()))
                << shell << cells.first().toLatin1() << cells.last().toLatin1();
        }
    }
}

void CompletionsTest::completes()
{
    QFETCH(int, shell);
    QFETCH(QByteArray, typed);
    QFETCH(QByteArray, line);

    QCOMPARE(lineAfter(shells().at(shell), "accountpolicyctl " + typed + "\tx"), "accountpolicyctl " + line + '\n');
}

void CompletionsTest::describes_data()
{
    QTest::addColumn<int>("shell");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QByteArray>("shown");
    const auto row = [](int shell, const char *typed, const char *shown) {
        QTest::addRow("%s: %s", shells().at(shell).name, typed) << shell << QByteArray(typed) << QByteArray(shown);
    };
    row(0, "set lockout ", "deny=         -- Failed logins after which an account is locked");
    row(0, "set expiration maxInterval=", "maxInterval=never  -- Days after which a password must be changed");
    row(0, "user ", "policytester");
    row(1, "set lockout ", "deny=         -- Failed logins after which an account is locked");
    row(1, "show ", "complexity  -- Password complexity");
    row(2, "show ", "(Password complexity)");
}

void CompletionsTest::describes()
{
    QFETCH(int, shell);
    QFETCH(QByteArray, typed);
    QFETCH(QByteArray, shown);
    PseudoTerminal terminal(root, QString::fromLatin1(shells().at(shell).name), shells().at(shell).arguments);
    QVERIFY(getsReady(&terminal, shells().at(shell)));

    terminal.type("accountpolicyctl " + typed + "\t\t");

    QVERIFY2(terminal.waitFor(shown), terminal.output().constData());
}

QTEST_GUILESS_MAIN(CompletionsTest)
#include "CompletionsTest.moc"
