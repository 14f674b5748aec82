// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The handlers of the tasks that read, and what each policy reads in its own way; for the rest see PamReadTasksTest.

#include "policies/pam/PamOptionReader.h"

#include "tests/policies/pam/PamPolicyCases.h"
#include "tests/support/Rows.h"
#include "tests/support/TypedMap.h"

namespace
{
const PamPolicyCase &policyOf(const QByteArray &lines)
{
    const QVector<PamPolicyCase> &policies = pamPolicyCases();
    return lines.contains("pam_tally.so") ? policies.first() : policies.last();
}
}

class PamOptionReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storesFlagsAtOnce();
    void readsLines_data();
    void readsLines();
};

void PamOptionReaderTest::storesFlagsAtOnce()
{
    for (const PamPolicyCase &policy : pamPolicyCases()) {
        const QVariantMap number{{policy.numbers.first(), 3}};
        QVariantMap values = number;
        values.insert(policy.flags.first(), 5);
        const auto handler = policy.newReader(&values);
        QCOMPARE(typedEntries(values), typedEntries(policy.withFlags(number)));
        QVERIFY(!handler->found());
    }
}

void PamOptionReaderTest::readsLines_data()
{
    const Rows<QByteArray, QByteArray> row("lines", "found");
    // clang-format off
    row("some options of pam_tally", "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail",
        "deny: int 3, unlock_time: int 600, per_user: bool true");
    row("lock_time", "pam_tally.so lock_time=5", "lock_time: int 5");
    row("unlock_time is no lock_time", "pam_tally.so unlock_time=600", "unlock_time: int 600");
    row("name inside an option", "pam_tally.so even_deny_root_account", "deny: int 0");
    row("no minus", "pam_tally.so deny=-3", "deny: int 0");
    row("no minus without equals sign", "pam_tally.so deny-3", "deny: int 0");
    row("some options of pam_cracklib",
        "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root",
        "minlen: int 9, dcredit: int -1, enforce_for_root: bool true");
    row("minus without equals sign", "pam_pwquality.so lcredit-1", "lcredit: int -1");
    row("least int", "pam_pwquality.so minlen=-2147483648", "minlen: int -2147483648");
    row("number too small for an int", "pam_pwquality.so minlen=-2147483649", "minlen: int 0");
    row("minlength", "pam_pwquality.so minlength=3", "minlen: int 0");
    row("lines of both modules merge",
        "pam_pwquality.so minlen=8 gecoscheck lcredit=1\npam_cracklib.so minlen=6 reject_username",
        "minlen: int 6, lcredit: int 1, gecoscheck: bool true, reject_username: bool true");
    row("lines of both modules merge the other way round", "pam_cracklib.so minlen=6\npam_pwquality.so minlen=8",
        "minlen: int 8");
    row("both modules on one line: options behind the first", "pam_cracklib.so minlen=1 pam_pwquality.so lcredit=2",
        "minlen: int 1, lcredit: int 2");
    // clang-format on
}

void PamOptionReaderTest::readsLines()
{
    QFETCH(QByteArray, lines);
    QFETCH(QByteArray, found);
    const PamPolicyCase &policy = policyOf(lines);
    QVariantMap values;
    const auto handler = policy.newReader(&values);

    QCOMPARE(handler->regExp(), QRegExp(policy.patterns.first()));
    QVERIFY(!handler->matches("auth required pam_tally2.so deny=3 minlen=9"));
    QVERIFY(!handler->matches(policy.base == "pam_tally" ? "pam_cracklib.so deny=3" : "pam_tally.so minlen=9"));
    for (const QByteArray &line : lines.split('\n')) {
        QVERIFY(handler->matches(line));
        QVERIFY(handler->handleLine(nullptr));
    }

    QCOMPARE(typedEntries(values), typedEntries(policy.withFlags(typedMap(found))));
    QVERIFY(handler->found());
}

QTEST_GUILESS_MAIN(PamOptionReaderTest)
#include "PamOptionReaderTest.moc"
