// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"

#include "tests/support/RecordingTranslator.h"

#include <QTest>

namespace
{
/// "key kind unit minimum maximum never", as numbers of the enumerations.
QString described(const Setting &setting)
{
    static const char *const kinds[] = {"flag", "number", "date"};
    static const char *const units[] = {"-", "logins", "s", "characters", "credits", "days"};
    static const char *const nevers[] = {"-", "-1", "unset"};
    return QStringLiteral("%1 %2 %3 %4 %5 %6")
        .arg(setting.key,
             QLatin1String(kinds[static_cast<int>(setting.kind)]),
             QLatin1String(units[static_cast<int>(setting.unit)]),
             QString::number(setting.minimum),
             QString::number(setting.maximum),
             QLatin1String(nevers[static_cast<int>(setting.never)]));
}

QStringList described(const SettingSchema &schema)
{
    QStringList all;
    for (const Setting &setting : schema.settings) {
        all += described(setting);
    }
    return all;
}

QStringList lines(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char('\n'));
}
}

class PoliciesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void haveTheseSettings_data();
    void haveTheseSettings();
    void accountHasTheseSettings();
    void areInOrder();
    void knowNoOtherPolicy();
    void translateWhatTheyAreCalled();
};

void PoliciesTest::haveTheseSettings_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("actions");
    QTest::addColumn<QStringList>("settings");

    QTest::newRow("lockout") << "lockout"
                             << "Lockout after failed logins"
                             << lines("readaccountslockoutpolicy\nwriteaccountslockoutpolicy")
                             << lines("per_user flag - 0 0 -\n"
                                      "magic_root flag - 0 0 -\n"
                                      "no_reset flag - 0 0 -\n"
                                      "deny number logins 0 65535 -\n"
                                      "lock_time number s 0 2147483647 -\n"
                                      "unlock_time number s 0 2147483647 -");
    QTest::newRow("complexity") << "complexity"
                                << "Password complexity"
                                << lines("readpasswordcomplexitypolicy\nwritepasswordcomplexitypolicy")
                                << lines("gecoscheck flag - 0 0 -\n"
                                         "enforce_for_root flag - 0 0 -\n"
                                         "reject_username flag - 0 0 -\n"
                                         "minlen number characters 6 512 -\n"
                                         "lcredit number credits -512 512 -\n"
                                         "ucredit number credits -512 512 -\n"
                                         "dcredit number credits -512 512 -\n"
                                         "ocredit number credits -512 512 -");
    QTest::newRow("expiration") << "expiration"
                                << "Password expiration of new accounts"
                                << lines("readpasswordexpirationpolicy\nwritepasswordexpirationpolicy")
                                << lines("maxInterval number days -1 2147483647 -1\n"
                                         "minInterval number days -1 2147483647 -1\n"
                                         "warningInterval number days -1 2147483647 -1\n"
                                         "inactiveInterval number days -1 2147483647 -1\n"
                                         "expireDate date - 0 2932896 unset");
}

void PoliciesTest::haveTheseSettings()
{
    QFETCH(QString, name);
    QFETCH(QString, title);
    QFETCH(QStringList, actions);
    QFETCH(QStringList, settings);

    const Policy *policy = findPolicy(name);

    QVERIFY(policy);
    QCOMPARE(policy->name, name);
    QCOMPARE(policy->titleText(), title);
    QCOMPARE(policy->phrase(), QStringLiteral("the %1 policy").arg(name));
    QCOMPARE(QStringList({QLatin1String(policy->readAction), QLatin1String(policy->writeAction)}), actions);
    QCOMPARE(described(policy->schema), settings);
}

void PoliciesTest::accountHasTheseSettings()
{
    QCOMPARE(described(accountSchema()),
             lines("maxInterval number days -1 2147483647 unset\n"
                   "minInterval number days -1 2147483647 unset\n"
                   "warningInterval number days -1 2147483647 unset\n"
                   "inactiveInterval number days -1 2147483647 unset\n"
                   "expireDate date - 0 2932896 unset"));
}

void PoliciesTest::areInOrder()
{
    QCOMPARE(policyNames(), lines("lockout\ncomplexity\nexpiration"));
    QCOMPARE(allPolicies().size(), 3);
}

void PoliciesTest::knowNoOtherPolicy()
{
    QVERIFY(!findPolicy(QStringLiteral("Lockout")));
    QVERIFY(!findPolicy(QString()));
}

void PoliciesTest::translateWhatTheyAreCalled()
{
    const Policy &policy = *findPolicy(QStringLiteral("complexity"));
    const RecordingTranslator translator;

    QCOMPARE(policy.titleText(), QStringLiteral("[Password complexity]"));
    QCOMPARE(policy.phrase(), QStringLiteral("[the complexity policy]"));
    QCOMPARE(translator.texts(),
             (QList<TranslatedText>{{"Policies", "Password complexity"}, {"Policies", "the %1 policy"}}));
}

QTEST_GUILESS_MAIN(PoliciesTest)
#include "PoliciesTest.moc"
