// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The tab key in the three shells, on a terminal.

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

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
        {"zsh", {QStringLiteral("-f"), QStringLiteral("-i")}, "autoload -U compinit; compinit -u -D"},
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

    struct Row {
        const char *name;
        const char *typed;
        const char *line;
    };
    static constexpr Row rows[] = {
        {"command", "exp", "export "},
        {"policy", "show lock", "show lockout "},
        {"policy to set", "set compl", "set complexity "},
        {"key", "set lockout den", "set lockout deny="},
        {"key behind a setting", "set lockout deny=3 unl", "set lockout deny=3 unlock_time="},
        {"value of a switch", "set lockout per_user=y", "set lockout per_user=yes "},
        {"account", "user policytes", "user policytester "},
        {"key of an account", "set user policytester maxI", "set user policytester maxInterval="},
        {"option", "set --repl", "set --replace "},
        {"file", "apply poli", "apply policies.json "},
        {"nothing", "export x", "export x"},
    };
    for (int shell = 0; shell < shells().size(); ++shell) {
        for (const Row &row : rows) {
            QTest::newRow((QByteArray(shells().at(shell).name) + ": " + row.name).constData())
                << shell << QByteArray("accountpolicyctl ") + row.typed << QByteArray("accountpolicyctl ") + row.line;
        }
    }
}

void CompletionsTest::completes()
{
    QFETCH(int, shell);
    QFETCH(QByteArray, typed);
    QFETCH(QByteArray, line);

    // the next letter shows whether a blank stands before it
    QCOMPARE(lineAfter(shells().at(shell), typed + "\tx"), line + "x\n");
}

void CompletionsTest::describes_data()
{
    QTest::addColumn<int>("shell");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("bash: keys alone") << 0 << QByteArray("set lockout ")
                                      << QByteArray("deny=           lock_time=      ");
    QTest::newRow("zsh: keys") << 1 << QByteArray("set lockout ")
                               << QByteArray("deny=         -- Failed logins after which an account is locked");
    QTest::newRow("zsh: words") << 1 << QByteArray("show ") << QByteArray("complexity  -- Password complexity");
    QTest::newRow("fish: words") << 2 << QByteArray("show ") << QByteArray("(Password complexity)");
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
