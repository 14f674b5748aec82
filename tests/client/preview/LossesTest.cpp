// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/Losses.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "tests/support/Rows.h"

#include <QTest>

class LossesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsWhatWouldBeLost_data();
    void findsWhatWouldBeLost();
    void tellsLinesOfTheSystemByRecordAndStock_data();
    void tellsLinesOfTheSystemByRecordAndStock();
    void countsLinesThatStandTwice();
};

void LossesTest::findsWhatWouldBeLost_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<bool>("isLost");
    const auto kept = [](const char *row, const char *before, const char *after) {
        QTest::newRow(row) << QByteArray(before) << QByteArray(after) << false;
    };
    const auto lost = [](const char *row, const char *before, const char *after) {
        QTest::newRow(row) << QByteArray(before) << QByteArray(after) << true;
    };
    lost("line", "password required pam_pwhistory.so remember=5", "");
    kept("line that stays", "password required pam_x.so", "password required pam_x.so");
    kept("white space", "password\trequired\t \tpam_x.so\ta", "password required pam_x.so a");
    kept("end of a line of another system", "password required pam_x.so\r", "password required pam_x.so");
    kept("jump", "auth [success=2 default=ignore] pam_x.so", "auth\t[success=1 default=ignore]\tpam_x.so");
    lost("other control", "auth [success=2 default=ignore] pam_x.so", "auth [success=2 default=bad] pam_x.so");
    lost("other type", "-auth required pam_x.so", "auth required pam_x.so");
    kept("order of options", "auth required pam_x.so a b", "auth required pam_x.so b a");
    kept("option that stood twice", "auth required pam_x.so a a", "auth required pam_x.so a");
    lost("option", "auth required pam_x.so a b", "auth required pam_x.so a");
    lost("option removed by hand", "auth required pam_x.so a", "auth required pam_x.so a b");
    lost("words of an option in brackets", "auth required pam_x.so [a=b c] d", "auth required pam_x.so [a=b d c]");
    kept("number that only looks like a jump", "auth required pam_x.so a=1", "auth required pam_x.so a=1");
    lost("number of an option", "auth required pam_x.so a=1", "auth required pam_x.so a=2");
    kept("options of the policy",
         "password requisite pam_pwquality.so retry=3 minlen=9 reject_username",
         "password requisite pam_pwquality.so minlen=12 dcredit=-1 retry=3");
    kept("options of the policy, other module",
         "password requisite pam_cracklib.so minlen=9",
         "password requisite pam_cracklib.so");
    lost("other option of the module",
         "password requisite pam_pwquality.so retry=3 minlen=9",
         "password requisite pam_pwquality.so retry=5 minlen=9");
    lost("option that holds a name of the policy's",
         "password requisite pam_pwquality.so xminlen=9",
         "password requisite pam_pwquality.so x");
    lost("option of the policy on another module",
         "password required pam_x.so minlen=9",
         "password required pam_x.so minlen=8");
    lost("comment", "# ask before you touch this", "");
    lost("other comment", "# ask  me first", "# ask me");
    kept("comment with other blanks", "#\task  me", "# ask me");
    lost("order of words in a comment", "# ask me", "# me ask");
    kept("options of the policy in a comment", "# pam_pwquality.so minlen=9", "# pam_pwquality.so  minlen=8");
    lost("bytes that are no text",
         "# Gr\xfc\xdf"
         "e",
         "# Gr\xef\xbf\xbd\xef\xbf\xbd"
         "e");
    lost("blank of Latin 1",
         "# a\xa0"
         "b",
         "# a b");
    lost("included file", "@include common-x", "");
    kept("empty line", " \t", "x");
    kept("move", "a\nb\nc", "c\na\nb");
}

void LossesTest::findsWhatWouldBeLost()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(bool, isLost);

    QCOMPARE(lostLines(complexityPolicy(), {"password", before, after, {}, {}}),
             isLost ? QByteArrayList{before} : QByteArrayList());
}

void LossesTest::tellsLinesOfTheSystemByRecordAndStock_data()
{
    const Rows<QByteArray, QByteArray, QByteArray> row("before", "record", "stock");
    row("of a profile",
        "password [success=1 default=ignore] pam_x.so a",
        "Module: x\n[success=end default=ignore]\tpam_x.so a",
        "");
    row("of no profile", "password [default=1] pam_permit.so", "Module: null\n[default=1]\t\tpam_permit.so", "");
    row("of the stock",
        "# here's the fallback\npassword requisite pam_deny.so",
        "",
        "password\trequisite\tpam_deny.so\n# here's the fallback\n");
    row("of the policy",
        "password requisite pam_pwquality.so retry=3 minlen=9",
        "Module: x\nrequisite pam_pwquality.so retry=3",
        "");
}

void LossesTest::tellsLinesOfTheSystemByRecordAndStock()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, record);
    QFETCH(QByteArray, stock);

    QCOMPARE(lostLines(complexityPolicy(), {"password", before, {}, record, stock}), QByteArrayList());
    QCOMPARE(lostLines(complexityPolicy(), {"password", before, {}, {}, {}}), QByteArrayList(before.split('\n')));
}

void LossesTest::countsLinesThatStandTwice()
{
    QCOMPARE(lostLines(complexityPolicy(), {"auth", "a\nb\na\n", "a\n", {}, {}}), (QByteArrayList{"b", "a"}));
}

QTEST_GUILESS_MAIN(LossesTest)
#include "LossesTest.moc"
