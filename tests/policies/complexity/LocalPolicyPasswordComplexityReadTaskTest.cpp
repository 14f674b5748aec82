// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"

#include "tests/support/Rows.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
const QString enforceForRoot = QStringLiteral("enforce_for_root");
const QString gecoscheck = QStringLiteral("gecoscheck");
const QString rejectUsername = QStringLiteral("reject_username");
const QString minlen = QStringLiteral("minlen");
const QString lcredit = QStringLiteral("lcredit");
const QString dcredit = QStringLiteral("dcredit");

QVariantMap withFlags(const QVariantMap &found)
{
    QVariantMap values{{enforceForRoot, false}, {gecoscheck, false}, {rejectUsername, false}};
    values.insert(found);
    return values;
}
}

/// What is not common to all policies of PAM; for that see PamReadTasksTest.
class LocalPolicyPasswordComplexityReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlerStoresFlagsAtOnce();
    void handlerReadsLines_data();
    void handlerReadsLines();
};

void LocalPolicyPasswordComplexityReadTaskTest::handlerStoresFlagsAtOnce()
{
    QVariantMap values{{gecoscheck, 5}, {minlen, 3}};
    const LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler handler(&values);
    QCOMPARE(typedEntries(values), typedEntries(withFlags({{minlen, 3}})));
    QVERIFY(!handler.found());
}

void LocalPolicyPasswordComplexityReadTaskTest::handlerReadsLines_data()
{
    const Rows<QByteArray, QVariantMap> row("lines", "found");
    row("some options",
        "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root",
        {{minlen, 9}, {dcredit, -1}, {enforceForRoot, true}});
    row("minus without equals sign", "pam_pwquality.so lcredit-1", {{lcredit, -1}});
    row("least int", "pam_pwquality.so minlen=-2147483648", {{minlen, -2147483647 - 1}});
    row("number too small for an int", "pam_pwquality.so minlen=-2147483649", {{minlen, 0}});
    row("minlength", "pam_pwquality.so minlength=3", {{minlen, 0}});
    row("lines of both modules merge",
        "pam_pwquality.so minlen=8 gecoscheck lcredit=1\npam_cracklib.so minlen=6 reject_username",
        {{minlen, 6}, {lcredit, 1}, {gecoscheck, true}, {rejectUsername, true}});
    row("lines of both modules merge the other way round",
        "pam_cracklib.so minlen=6\npam_pwquality.so minlen=8",
        {{minlen, 8}});
    row("both modules on one line: options behind the first",
        "pam_cracklib.so minlen=1 pam_pwquality.so lcredit=2",
        {{minlen, 1}, {lcredit, 2}});
}

void LocalPolicyPasswordComplexityReadTaskTest::handlerReadsLines()
{
    QFETCH(QByteArray, lines);
    QFETCH(QVariantMap, found);
    QVariantMap values;
    LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler handler(&values);

    QVERIFY(!handler.matches("password pam_tally.so minlen=9"));
    for (const QByteArray &line : lines.split('\n')) {
        QVERIFY(handler.matches(line));
        QVERIFY(handler.handleLine(nullptr));
    }

    QCOMPARE(typedEntries(values), typedEntries(withFlags(found)));
    QVERIFY(handler.found());
    QCOMPARE(handler.regExp(), QRegExp(QStringLiteral(R"((?:.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))")));
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordComplexityReadTaskTest)
#include "LocalPolicyPasswordComplexityReadTaskTest.moc"
