// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"

#include "client/settings/Assignments.h"
#include "client/settings/SettingText.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/TextRows.h"
#include "tests/support/TypedMap.h"

#include <QTextStream>

namespace
{
/// A line "key kind unit minimum maximum never" for each setting.
QString described(const SettingSchema &schema)
{
    static const char *const kinds[] = {"flag", "switch", "number", "date", "text"};
    static const char *const units[] = {"-", "logins", "s", "characters", "credits", "days"};
    static const char *const nevers[] = {"-", "-1", "unset", "0"};
    static const char *const forms[] = {" name", " path"};
    QString text;
    QTextStream lines(&text);
    lines << '\n';
    for (const Setting &setting : schema.settings) {
        lines << setting.key << ' ' << kinds[static_cast<int>(setting.kind)] << ' '
              << units[static_cast<int>(setting.unit)] << ' ' << setting.minimum << ' ' << setting.maximum << ' '
              << nevers[static_cast<int>(setting.never)]
              << (setting.kind == SettingKind::Text ? forms[static_cast<int>(setting.form)] : "") << '\n';
    }
    return text;
}

const char ageing[] = R"(
maxInterval number days -1 2147483647 %1
minInterval number days -1 2147483647 %1
warningInterval number days -1 2147483647 %1
inactiveInterval number days -1 2147483647 %1
expireDate date - 0 2932896 unset
)";
}

class PoliciesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void haveTheseSettings_data();
    void haveTheseSettings();
    void accountHasTheSettingsOfExpiration();
    void wantAPolicyEnabledOfWhichAValueIsWanted_data();
    void wantAPolicyEnabledOfWhichAValueIsWanted();
    void areTheseAndNoOthers();
    void translateWhatTheyAreCalled();
};

void PoliciesTest::haveTheseSettings_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("settings");

    const auto row = [](const char *name, const char *title, const char *actions, const QString &settings) {
        QTest::newRow(name) << title << actions << settings;
    };
    row("lockout",
        "Lockout after failed logins",
        "readaccountslockoutpolicy writeaccountslockoutpolicy",
        QStringLiteral(R"(
per_user flag - 0 0 -
magic_root flag - 0 0 -
no_reset flag - 0 0 -
deny number logins 0 65535 -
lock_time number s 0 2147483647 -
unlock_time number s 0 2147483647 -
)"));
    row("complexity",
        "Password complexity",
        "readpasswordcomplexitypolicy writepasswordcomplexitypolicy",
        QStringLiteral(R"(
gecoscheck flag - 0 0 -
enforce_for_root flag - 0 0 -
reject_username flag - 0 0 -
minlen number characters 6 512 -
lcredit number credits -512 512 -
ucredit number credits -512 512 -
dcredit number credits -512 512 -
ocredit number credits -512 512 -
)"));
    row("expiration",
        "Password expiration of new accounts",
        "readpasswordexpirationpolicy writepasswordexpirationpolicy",
        QString::fromLatin1(ageing).replace(QLatin1String("%1"), QLatin1String("-1")));
    row("faillock", "Lockout after failed logins, by pam_faillock", " ", QStringLiteral(R"(
enabled flag - 0 0 -
deny number logins 1 1024 -
fail_interval number s 1 604800 -
unlock_time number s 0 604800 0
even_deny_root flag - 0 0 -
root_unlock_time number s 0 604800 0
audit flag - 0 0 -
silent flag - 0 0 -
no_log_info flag - 0 0 -
local_users_only flag - 0 0 -
nodelay flag - 0 0 -
admin_group text - 0 0 - name
dir text - 0 0 - path
)"));
    row("pwquality", "Quality of new passwords, by pam_pwquality", " ", QStringLiteral(R"(
difok number characters 0 512 -
minlen number characters 6 512 -
minclass number - 0 4 -
dcredit number credits -512 512 -
ucredit number credits -512 512 -
lcredit number credits -512 512 -
ocredit number credits -512 512 -
maxrepeat number characters 0 512 -
maxsequence number characters 0 512 -
maxclassrepeat number characters 0 512 -
gecoscheck switch - 0 0 -
dictcheck switch - 0 0 -
usercheck switch - 0 0 -
usersubstr number characters 0 512 -
enforcing switch - 0 0 -
retry number - 1 100 -
enforce_for_root flag - 0 0 -
local_users_only flag - 0 0 -
)"));
    row("pwhistory", "Former passwords, by pam_pwhistory", " ", QStringLiteral(R"(
enabled flag - 0 0 -
remember number - 0 400 -
enforce_for_root flag - 0 0 -
retry number - 1 100 -
)"));
}

void PoliciesTest::haveTheseSettings()
{
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const Policy *policy = findPolicy(name);
    QVERIFY(policy);

    QCOMPARE(policy->name, name);
    QCOMPARE(policy->phrase(), QStringLiteral("the %1 policy").arg(name));
    QTEST(policy->titleText(), "title");
    QTEST(QString::fromLatin1(policy->readAction) + QLatin1Char(' ') + QLatin1String(policy->writeAction), "actions");
    QTEST(described(policy->schema), "settings");
}

void PoliciesTest::accountHasTheSettingsOfExpiration()
{
    QCOMPARE(described(accountSchema()),
             QString::fromLatin1(ageing).replace(QLatin1String("%1"), QLatin1String("unset")));
}

void PoliciesTest::wantAPolicyEnabledOfWhichAValueIsWanted_data()
{
    // a variant that stands for "not set" has no type
    addTextRows(R"(
faillock =>
faillock deny=5 => deny: qlonglong 5, enabled: bool true
faillock deny=5 enabled=no => deny: qlonglong 5, enabled: bool false
faillock silent=yes => enabled: bool true, silent: bool true
faillock silent=no deny= => deny: , silent: bool false
pwhistory remember=0 => enabled: bool true, remember: qlonglong 0
pwquality minlen=12 => minlen: qlonglong 12
lockout deny=5 => deny: qlonglong 5
)");
}

void PoliciesTest::wantAPolicyEnabledOfWhichAValueIsWanted()
{
    QFETCH(QString, input);
    QStringList words = input.split(QLatin1Char(' '));
    const Policy &policy = *findPolicy(words.takeFirst());
    Wishes wishes;
    QCOMPARE(parseAssignments(policy.schema, policy.phrase(), words, &wishes), QString());

    QTEST(typedEntries(withEnabling(policy.schema, wishes)).join(QStringLiteral(", ")).simplified(), "result");
}

void PoliciesTest::areTheseAndNoOthers()
{
    QCOMPARE(policyNames().join(QLatin1Char(' ')),
             QStringLiteral("lockout complexity expiration faillock pwquality pwhistory"));
    QVERIFY(!findPolicy(QStringLiteral("Lockout")));
    QVERIFY(!findPolicy(QString()));
}

void PoliciesTest::translateWhatTheyAreCalled()
{
    const Policy &policy = *findPolicy(QStringLiteral("complexity"));
    const RecordingTranslator translator;

    QCOMPARE(policy.titleText(), QStringLiteral("[Password complexity]"));
    QCOMPARE(policy.phrase(), QStringLiteral("[the complexity policy]"));
    QCOMPARE(descriptionText(policy.schema.settings.first()),
             QStringLiteral("[Words of the user's full name are refused]"));
    QCOMPARE(translator.texts(),
             (QList<TranslatedText>{{"Policies", "Password complexity"},
                                    {"Policies", "the %1 policy"},
                                    {"Policies", "Words of the user's full name are refused"}}));
}

QTEST_GUILESS_MAIN(PoliciesTest)
#include "PoliciesTest.moc"
