// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicy.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"

#include <QTest>

Q_DECLARE_METATYPE(PamPolicy)

namespace
{
/// A policy of names that no real one has, so that nothing but the table can bring them in.
PamPolicy samplePolicy()
{
    using Kind = PamOption::Kind;
    return {
        QStringLiteral("/etc/pam.d/sample"),
        {
            {QStringLiteral("first"), QStringLiteral("pam_sample"), "no module in %1"},
            {QStringLiteral("second"), QStringLiteral("pam_example"), "none in %1"},
        },
        QStringLiteral(R"(\s*.*)"),
        QStringLiteral(R"(-?\d+)"),
        {
            {QStringLiteral("quiet"), Kind::Flag, 2},
            {QStringLiteral("loud"), Kind::Flag, 1},
            {QStringLiteral("speed"), Kind::Number, 5},
            {QStringLiteral("angle"), Kind::Number, 3},
            {QStringLiteral("top_speed"), Kind::Number, 4},
        },
        QStringLiteral("speed"),
    };
}

PamPolicy withOneModule()
{
    PamPolicy policy = samplePolicy();
    policy.profiles.removeLast();
    policy.rewritingStart = QStringLiteral(".*");
    policy.number = QStringLiteral(R"(\d+)");
    policy.options.resize(3);
    return policy;
}
}

class PamPolicyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesPatterns_data();
    void givesPatterns();
    void compilesModulePatternOnce();
    void hintsAtItsModules();
    void knowsItsOptions();
};

void PamPolicyTest::givesPatterns_data()
{
    QTest::addColumn<PamPolicy>("policy");
    QTest::addColumn<QString>("reading");
    QTest::addColumn<QString>("rewriting");
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("module");

    QTest::newRow("lockout") << lockoutPolicy() << QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))")
                             << QStringLiteral(R"((\s*.*pam_tally\.so)((?:\s+\S+)*))")
                             << QStringLiteral(R"((per_user|magic_root|no_reset|deny|lock_time|unlock_time)=?(\d+)?)")
                             << QStringLiteral(R"(pam_tally\.so)");
    QTest::newRow("complexity")
        << complexityPolicy() << QStringLiteral(R"((?:.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))")
        << QStringLiteral(R"((.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))")
        << QStringLiteral(
               R"((reject_username|gecoscheck|enforce_for_root|minlen|lcredit|ucredit|dcredit|ocredit)=?(-?\d+)?)")
        << QStringLiteral(R"((pam_cracklib|pam_pwquality)\.so)");
    QTest::newRow("sample") << samplePolicy() << QStringLiteral(R"((?:.*(pam_sample|pam_example)\.so)((?:\s+\S+)*))")
                            << QStringLiteral(R"((\s*.*(pam_sample|pam_example)\.so)((?:\s+\S+)*))")
                            << QStringLiteral(R"((loud|quiet|angle|top_speed|speed)=?(-?\d+)?)")
                            << QStringLiteral(R"((pam_sample|pam_example)\.so)");
    QTest::newRow("one module") << withOneModule() << QStringLiteral(R"((?:.*pam_sample\.so)((?:\s+\S+)*))")
                                << QStringLiteral(R"((.*pam_sample\.so)((?:\s+\S+)*))")
                                << QStringLiteral(R"((loud|quiet|speed)=?(\d+)?)")
                                << QStringLiteral(R"(pam_sample\.so)");
}

void PamPolicyTest::givesPatterns()
{
    QFETCH(PamPolicy, policy);
    QTEST(policy.readingPattern(), "reading");
    QTEST(policy.rewritingPattern(), "rewriting");
    QTEST(policy.optionPattern(), "option");
    QTEST(policy.modulePattern(), "module");
}

void PamPolicyTest::compilesModulePatternOnce()
{
    QCOMPARE(samplePolicy().moduleExpression, QRegularExpression(QStringLiteral(R"((pam_sample|pam_example)\.so)")));
    QCOMPARE(&lockoutPolicy(), &lockoutPolicy());
    QCOMPARE(&complexityPolicy(), &complexityPolicy());
}

void PamPolicyTest::hintsAtItsModules()
{
    const SearchHint hint = samplePolicy().hint();
    QVERIFY(hint.admits("auth pam_sample.so"));
    QVERIFY(hint.admits("xpam_example.sox"));
    QVERIFY(!hint.admits("pam_sample pam_exampleso pam_other.so PAM_SAMPLE.SO"));
}

void PamPolicyTest::knowsItsOptions()
{
    const PamPolicy policy = samplePolicy();
    QCOMPARE(policy.option(QStringLiteral("loud")), &policy.options.at(1));
    QCOMPARE(policy.option(QStringLiteral("top_speed")), &policy.options.last());
    QCOMPARE(policy.option(QStringLiteral("Loud")), nullptr);
    QCOMPARE(policy.option(QString()), nullptr);
    QCOMPARE(policy.profiles.first().path(), QStringLiteral("/usr/share/pam-configs/first"));
}

QTEST_GUILESS_MAIN(PamPolicyTest)
#include "PamPolicyTest.moc"
