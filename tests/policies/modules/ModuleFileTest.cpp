// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleFile.h"

#include "tests/support/Rows.h"

#include <QTest>

namespace
{
const QString deny = QStringLiteral("deny");
const QString audit = QStringLiteral("audit");
const QString unlockTime = QStringLiteral("unlock_time");
const QString remember = QStringLiteral("remember");
const QString minlen = QStringLiteral("minlen");
}

class ModuleFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads();
    void readsQualityByItsLibrary_data();
    void readsQualityByItsLibrary();
    void rewrites_data();
    void rewrites();
    void rewritesNamesInAnyCaseWhereModuleTakesThem();
    void readsWhatItWrites_data();
    void readsWhatItWrites();
    void readsHistoryByFirstLines_data();
    void readsHistoryByFirstLines();
    void readsOptions_data();
    void readsOptions();
    void writesOptionsBehindOthers();
};

void ModuleFileTest::reads_data()
{
    const Rows<QByteArray, QVariantMap> row("content", "values");
    row("nothing", "", {});
    row("comments alone", "# deny = 3\n#audit\n", {});
    row("with blanks", " \tdeny \t=\t 4 \n", {{deny, 4LL}});
    row("without blanks", "deny=4", {{deny, 4LL}});
    row("with a blank for the sign", "deny 4", {{deny, 4LL}});
    row("with a comment behind it", "deny = 4 # not 5\naudit# always\n", {{deny, 4LL}, {audit, true}});
    row("the last one", "deny = 4\ndeny = 5\n", {{deny, 5LL}});
    row("the last one that is a number", "deny = 4\ndeny = five\n", {{deny, 4LL}});
    row("no more than the digits", "deny = 4x\n", {{deny, 4LL}});
    row("no more than the module keeps of it", "deny = 65538\n", {{deny, 2LL}});
    row("all of a time", "unlock_time = 65538\n", {{unlockTime, 65538LL}});
    row("a flag with a text", "audit = no\n", {{audit, true}});
    row("no part of a name", "root_deny = 4\ndenying = 4\n", {});
    row("never", "unlock_time = never\n", {{unlockTime, 0LL}});
    row("never only where there is one", "fail_interval = never\n", {});
    row("the longest time", "unlock_time = 604800\n", {{unlockTime, 604800LL}});
    row("no longer one", "unlock_time = 604801\n", {});
    row("no time before now", "unlock_time = -1\n", {});
    row("a text", "admin_group = wheel\n", {{QStringLiteral("admin_group"), QStringLiteral("wheel")}});
    row("no empty text", "admin_group =\n", {});
    row("no text before an empty one", "admin_group = wheel\nadmin_group\n", {});
    row("a path before an empty one", "dir = /f\ndir\n", {{QStringLiteral("dir"), QStringLiteral("/f")}});
    row("an absolute path", "dir = /var/lib/f\n", {{QStringLiteral("dir"), QStringLiteral("/var/lib/f")}});
    row("no sign more", "deny = = 4\n", {});
    row("no other path", "dir = lib/f\n", {});
    row("what is written in Latin 1", "# \xe4\ndeny = 4\n", {{deny, 4LL}});
}

void ModuleFileTest::reads()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QVariantMap, values);
    QString error;

    QCOMPARE(moduleFileValues(faillockPolicy(), content, &error), values);
    QCOMPARE(error, QString());
}

void ModuleFileTest::readsQualityByItsLibrary_data()
{
    const Rows<QByteArray, QVariantMap, RowText> row("content", "values", "error");
    row("nothing", "", {}, "");
    row("a number", "minlen = 12\n", {{minlen, 12LL}}, "");
    row("a number that is raised", "minlen = 3\n", {{minlen, 6LL}}, "");
    row("a credit", "dcredit=-1\n", {{QStringLiteral("dcredit"), -1LL}}, "");
    row("a check that is off", "dictcheck = 0\n", {{QStringLiteral("dictcheck"), false}}, "");
    row("a check by another number", "usercheck = 7\n", {{QStringLiteral("usercheck"), true}}, "");
    row("a flag", "enforce_for_root\n", {{QStringLiteral("enforce_for_root"), true}}, "");
    row("its bounds", "minclass = 9\n", {{QStringLiteral("minclass"), 4LL}}, "");
    row("what is not ours", "badwords = one two\nminlen = 9 # nine\n", {{minlen, 9LL}}, "");
    row("as far as it is right",
        "minlen = 9\nmaxrepeat = many\ndifok = 3\n",
        {{minlen, 9LL}},
        "Bad integer value of setting - maxrepeat");
}

void ModuleFileTest::readsQualityByItsLibrary()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QVariantMap, values);
    QFETCH(const QString, error);
    QString found;

    QCOMPARE(moduleFileValues(pwqualityPolicy(), content, &found), values);
    QCOMPARE(found, error);
}

void ModuleFileTest::readsHistoryByFirstLines_data()
{
    const Rows<QByteArray, QVariantMap> row("content", "values");
    row("the first one", "remember = 3\nremember = 4\n", {{remember, 3LL}});
    row("the first one that is no number", "remember = x\nremember = 4\n", {});
    row("behind any signs", "remember = = 3\n", {{remember, 3LL}});
    row("the first one without a value", "remember\nremember = 4\n", {});
    row("the first one in any case", "Remember = 3\nremember = 4\n", {{remember, 3LL}});
    row("each by itself",
        "retry = 2\n# remember = 3\nremember = 4\n",
        {{remember, 4LL}, {QStringLiteral("retry"), 2LL}});
}

void ModuleFileTest::readsHistoryByFirstLines()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QVariantMap, values);
    QString error;

    QCOMPARE(moduleFileValues(pwhistoryPolicy(), content, &error), values);
    QCOMPARE(error, QString());
}

void ModuleFileTest::rewrites_data()
{
    const Rows<QByteArray, QVariantMap, QByteArray> row("content", "values", "expected");
    row("nothing into nothing", "", {}, "");
    row("into nothing", "", {{audit, true}, {deny, 4LL}}, "deny = 4\naudit\n");
    row("at the end", "# head\n# deny = 3\n", {{deny, 4LL}}, "# head\n# deny = 3\ndeny = 4\n");
    row("behind an open line", "silent", {{deny, 4LL}, {QStringLiteral("silent"), true}}, "silent\ndeny = 4\n");
    row("in its place", "deny=3\nother\n", {{deny, 4LL}}, "deny = 4\nother\n");
    row("with its comment", "deny=3  # three\n", {{deny, 4LL}}, "deny = 4\t# three\n");
    row("what is there already as it stands",
        "  deny=4  # four\n unlock_time = never\n",
        {{deny, 4LL}, {unlockTime, 0LL}},
        "  deny=4  # four\n unlock_time = never\n");
    row("in the last one of several", "deny=3\nother\ndeny=5 # five\n", {{deny, 4LL}}, "other\ndeny = 4\t# five\n");
    row("nothing of a doubled flag", "audit\nother\naudit # twice\n", {}, "other\n# twice\n");
    row("no false flag", "audit\n", {{audit, false}}, "");
    row("what the module didn't take", "deny = three\n", {{deny, 4LL}}, "deny = 4\n");
    row("what is absent away",
        "deny = 4\nfoo = 3\nunlock_time = 5\n",
        {{unlockTime, 5LL}},
        "foo = 3\nunlock_time = 5\n");
    row("bytes of others as they are", "\xff\xfe=\x01\r\ndeny=1\n\n", {{deny, 2LL}}, "\xff\xfe=\x01\r\ndeny = 2\n\n");
}

void ModuleFileTest::rewrites()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QVariantMap, values);
    QFETCH(const QByteArray, expected);

    QCOMPARE(moduleFileWith(faillockPolicy(), content, values), expected);
    QCOMPARE(moduleFileWith(faillockPolicy(), expected, values), expected);
}

void ModuleFileTest::rewritesNamesInAnyCaseWhereModuleTakesThem()
{
    const QByteArray content = "MinLen = 9\nMINCLASS = 2\nminlen = 10\n";
    QCOMPARE(moduleFileWith(pwqualityPolicy(), content, {{minlen, 12LL}}), QByteArray("minlen = 12\n"));
    QCOMPARE(moduleFileWith(faillockPolicy(), "Deny = 3\n", {{deny, 4LL}}), QByteArray("Deny = 3\ndeny = 4\n"));
}

void ModuleFileTest::readsWhatItWrites_data()
{
    const Rows<QString, QString, QVariant> row("policy", "setting", "value");
    using Setting = ModuleSetting;
    for (const ModulePolicy *policy : modulePolicies()) {
        for (const Setting &setting : policy->settings) {
            const bool isNumber = setting.kind == Setting::Kind::Number || setting.kind == Setting::Kind::Seconds;
            const bool isText = setting.kind == Setting::Kind::Text || setting.kind == Setting::Kind::Path;
            const QVariantList values = isNumber      ? QVariantList{setting.minimum, setting.maximum}
                : isText                              ? QVariantList{QStringLiteral("/a=b!~")}
                : setting.kind == Setting::Kind::Flag ? QVariantList{true}
                                                      : QVariantList{true, false};
            for (const QVariant &value : values) {
                const QByteArray name = (policy->name + QLatin1Char(' ') + setting.name + QLatin1Char(' ')).toLatin1();
                row((name + value.toString().toLatin1()).constData(), policy->name, setting.name, value);
            }
        }
    }
}

void ModuleFileTest::readsWhatItWrites()
{
    QFETCH(const QString, policy);
    QFETCH(const QString, setting);
    QFETCH(const QVariant, value);
    const QVariantMap values{{setting, value}};
    const ModulePolicy *found = modulePolicy(policy);
    QCOMPARE(found->faultIn(values), QString());
    QString error;

    QCOMPARE(moduleFileValues(*found, moduleFileWith(*found, "# head\n", values), &error), values);
    QCOMPARE(moduleOptionValues(*found, moduleOptionsWith(*found, {}, values)), values);
    QCOMPARE(error, QString());
}

void ModuleFileTest::readsOptions_data()
{
    const Rows<RowText, RowText, QVariantMap> row("policy", "options", "values");
    row("among others", "pwhistory", "use_authtok remember=3 debug", {{remember, 3LL}});
    row("the last one", "pwhistory", "remember=3 remember=4", {{remember, 4LL}});
    row("a flag", "pwhistory", "enforce_for_root", {{QStringLiteral("enforce_for_root"), true}});
    row("in any case for pam_pwhistory", "pwhistory", "Remember=3", {{remember, 3LL}});
    row("in its own case for pam_faillock", "faillock", "Deny=3", {});
    row("no number for 0 by pam_pwhistory", "pwhistory", "remember=3 remember=x", {{remember, 0LL}});
    row("nothing for 0 by pam_pwhistory", "pwhistory", "remember=", {{remember, 0LL}});
    row("no flag with a text", "pwhistory", "enforce_for_root=1", {});
    row("no other by pam_faillock", "faillock", "audit=1", {{audit, true}});
    row("a name alone for none", "pwhistory", "remember", {});
    row("no number for none by pam_faillock", "faillock", "deny=3 deny=x", {{deny, 3LL}});
}

void ModuleFileTest::readsOptions()
{
    QFETCH(const QString, policy);
    QFETCH(const QString, options);
    QFETCH(const QVariantMap, values);

    QCOMPARE(moduleOptionValues(*modulePolicy(policy), options.split(QLatin1Char(' '))), values);
}

void ModuleFileTest::writesOptionsBehindOthers()
{
    const QStringList options{QStringLiteral("remember=3"), QStringLiteral("use_authtok"), QStringLiteral("retry=2")};
    QCOMPARE(moduleOptionsWith(pwhistoryPolicy(), options, {{QStringLiteral("remember"), 4LL}}),
             QStringList({QStringLiteral("use_authtok"), QStringLiteral("remember=4")}));
}

QTEST_GUILESS_MAIN(ModuleFileTest)
#include "ModuleFileTest.moc"
