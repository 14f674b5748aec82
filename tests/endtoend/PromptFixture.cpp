// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/PromptFixture.h"

#include "tests/endtoend/Client.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

const char password[] = "Kw7-zR4q-Tm2xBv9";

PseudoTerminal clientAtTerminal(const char *words)
{
    return {administrator, QStringLiteral("accountpolicyctl"), splitWords(QString::fromLatin1(words))};
}

QByteArray loginDefs()
{
    return contentOf(QStringLiteral("/etc/login.defs"));
}

QByteArray shown(const PseudoTerminal &terminal)
{
    static const QRegularExpression takenAway(QStringLiteral("[^\n]*\r\033\\[K"));
    return QString::fromUtf8(terminal.output()).remove(takenAway).toUtf8();
}

QByteArray lastLine(const QByteArray &output)
{
    return output.trimmed().split('\n').constLast().trimmed().replace("\033[0m", "");
}

void awaitPrompt(PseudoTerminal *terminal)
{
    QVERIFY2(terminal->waitFor("Password: "), terminal->output().constData());
    QTRY_VERIFY(!terminal->echoes());
}

void answer(PseudoTerminal *terminal, const QByteArray &typed)
{
    awaitPrompt(terminal);
    terminal->type(typed + '\r');
}

void putIntoGroups(const QString &account, const QString &groups)
{
    QCOMPARE(runAs(root, QStringLiteral("usermod"), {QStringLiteral("-G"), groups, account}).exitCode, 0);
}

namespace
{
void prepareStateFolder()
{
    client(administrator, QStringLiteral("--version"));
    qputenv("XDG_STATE_HOME", stateFolder(administrator).toLocal8Bit());
}
}

void PromptFixture::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QCOMPARE(runAs(root, QStringLiteral("useradd"), splitWords(QStringLiteral("-M otheradmin"))).exitCode, 0);
    const QString add = QStringLiteral("-u %1 -M -G sudo policyadmin").arg(administrator);
    QCOMPARE(runAs(root, QStringLiteral("useradd"), splitWords(add)).exitCode, 0);
    const QByteArray line = "policyadmin:" + QByteArray(password) + '\n';
    QCOMPARE(runAs(root, QStringLiteral("chpasswd"), {QStringLiteral("-c"), QStringLiteral("SHA512")}, line).exitCode,
             0);
    qputenv("TERM", "dumb");
    prepareStateFolder();
}

void PromptFixture::init()
{
    putIntoGroups(QStringLiteral("otheradmin"), QString());
    m_stockPam.restore();
    QDir(stateFolder(administrator) + QStringLiteral("/accountpolicyctl")).removeRecursively();
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\n");
}
