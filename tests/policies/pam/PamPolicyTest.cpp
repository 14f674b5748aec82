// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicy.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"
#include "tests/policies/pam/PamPolicyCases.h"
#include "tests/support/Rows.h"
#include "tests/support/Texts.h"

#include <QTest>

#include <algorithm>

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
        "neither in %1",
        false,
        nullptr,
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
    void countsPlacesOfReading();
    void hintsAtItsModules();
    void knowsItsOptions();
};

void PamPolicyTest::givesPatterns_data()
{
    const Rows<PamPolicy, QStringList> row("policy", "patterns");
    for (const PamPolicyCase &policy : pamPolicyCases()) {
        row(policy.base.constData(), *policy.table, policy.patterns);
    }
    // clang-format off
    row("sample", samplePolicy(),
        texts({R"((?:.*(pam_sample|pam_example)\.so)((?:\s+\S+)*))",
               R"((\s*.*(pam_sample|pam_example)\.so)((?:\s+\S+)*))",
               R"((loud|quiet|angle|top_speed|speed)=?(-?\d+)?)", R"((pam_sample|pam_example)\.so)"}));
    row("one module", withOneModule(),
        texts({R"((?:.*pam_sample\.so)((?:\s+\S+)*))", R"((.*pam_sample\.so)((?:\s+\S+)*))",
               R"((loud|quiet|speed)=?(\d+)?)", R"(pam_sample\.so)"}));
    // clang-format on
}

void PamPolicyTest::givesPatterns()
{
    QFETCH(PamPolicy, policy);
    QFETCH(QStringList, patterns);
    QCOMPARE(QStringList(
                 {policy.readingPattern(), policy.rewritingPattern(), policy.optionPattern(), policy.modulePattern()}),
             patterns);
}

void PamPolicyTest::compilesModulePatternOnce()
{
    QCOMPARE(samplePolicy().moduleExpression, QRegularExpression(QStringLiteral(R"((pam_sample|pam_example)\.so)")));
    QCOMPARE(&lockoutPolicy(), &lockoutPolicy());
    QCOMPARE(&complexityPolicy(), &complexityPolicy());
}

/// Two options of one place would leave their order to the sort.
void PamPolicyTest::countsPlacesOfReading()
{
    for (const PamPolicy *policy : {&lockoutPolicy(), &complexityPolicy()}) {
        QVector<int> places;
        QVector<int> counted;
        for (const PamOption &option : policy->options) {
            places += option.readingPlace;
            counted += counted.size() + 1;
        }
        std::sort(places.begin(), places.end());
        QCOMPARE(places, counted);
    }
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
