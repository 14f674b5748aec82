// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/Sessions.h"

#include <QTest>

namespace
{
constexpr char rootPrompt[] = "# ";
constexpr char userPrompt[] = "$ ";

void bringPrograms()
{
    writeContent("/run/stock/tally", tallyProfile());
    writeProgram("/usr/local/bin/bring-profile",
                 "#!/bin/sh\ncat /run/stock/common-auth >/etc/pam.d/common-auth\n"
                 "cat /run/stock/tally >/usr/share/pam-configs/tally\n");
    writeProgram("/usr/local/bin/without-times",
                 "#!/bin/sh\nexec sed -E 's/^([0-9]+  )[0-9]{4}(-[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2}  /\\1/'\n");
    writeProgram("/usr/local/bin/without-home",
                 "#!/bin/sh\nexec setpriv --reuid 4321 --regid 4321 --clear-groups "
                 "env --unset=HOME --unset=XDG_STATE_HOME \"$@\"\n");
    const QByteArray helper = helperFile;
    writeProgram("/usr/local/bin/remove-helper",
                 "#!/bin/sh\npkill -x accountpolicies; mv " + helper + ' ' + helper
                     + ".away\n[ \"$1\" != --broken ] || cp /bin/false " + helper + '\n');
    writeProgram("/usr/local/bin/return-helper", "#!/bin/sh\nmv " + helper + ".away " + helper + '\n');
}

/// A command and what follows it, for each command of a session.
QByteArrayList stepsOf(const QByteArray &session)
{
    QByteArrayList steps;
    for (const QByteArray &line : session.trimmed().split('\n')) {
        if (line.startsWith(rootPrompt) || line.startsWith(userPrompt)) {
            steps += QByteArray();
        }
        steps.last() += line + '\n';
    }
    return steps;
}

/// The step with what its command really prints.
QByteArray played(const QByteArray &step)
{
    const QByteArray prompt = step.left(step.indexOf('\n') + 1);
    const int user = prompt.startsWith(rootPrompt) ? root : nobody;
    const ProgramResult result = shell(user, QStringLiteral("set -o pipefail; ") + QString::fromUtf8(prompt.mid(2)));
    QByteArray seen = prompt + result.standardOutput;
    for (const QByteArray &line : result.standardError.trimmed().split('\n')) {
        seen += line.isEmpty() ? line : "! " + line + '\n';
    }
    return result.exitCode == 0 ? seen : seen + "= " + QByteArray::number(result.exitCode) + '\n';
}
}

void Sessions::answers_data()
{
    addSessions();
}

void Sessions::answers()
{
    play();
}

void Sessions::addSessions() const
{
    QTest::addColumn<QByteArray>("session");
    const QString file = QStringLiteral("%1.%2").arg(QString::fromLatin1(metaObject()->className()),
                                                     QString::fromLatin1(QTest::currentTestFunction()));
    const QByteArray mark = "\n## ";
    const QByteArray text = contentOf(QFINDTESTDATA(file));
    if (!text.contains(mark)) {
        qFatal("there is no session in %s", qPrintable(file));
    }
    for (auto start = text.indexOf(mark); start >= 0;) {
        const auto next = text.indexOf(mark, start + 1);
        const QByteArray session = text.mid(start, next < 0 ? -1 : next - start).trimmed();
        const auto lineEnd = session.indexOf('\n');
        QTest::newRow(session.mid(3, lineEnd - 3).constData()) << session.mid(lineEnd + 1);
        start = next;
    }
}

void Sessions::play()
{
    QFETCH(QByteArray, session);
    bringPrograms();

    for (const QByteArray &step : stepsOf(session)) {
        const QByteArray seen = played(step);
        QVERIFY2(seen == step, ("seen:\n" + seen + "expected:\n" + step).constData());
    }
}
