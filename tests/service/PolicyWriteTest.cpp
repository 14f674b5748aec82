// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PolicyWrite.h"

#include "tests/support/TypedMap.h"

#include <QDBusVariant>
#include <QTest>

class PolicyWriteTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesIntegersOfAnySize_data();
    void takesIntegersOfAnySize();
    void takesOptions_data();
    void takesOptions();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
};

void PolicyWriteTest::takesIntegersOfAnySize_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("byte") << QVariant::fromValue(uchar(7));
    QTest::newRow("16 bits") << QVariant::fromValue(short(7));
    QTest::newRow("16 bits, unsigned") << QVariant::fromValue(ushort(7));
    QTest::newRow("32 bits") << QVariant(7);
    QTest::newRow("32 bits, unsigned") << QVariant(7U);
    QTest::newRow("64 bits") << QVariant(7LL);
    QTest::newRow("64 bits, unsigned") << QVariant(7ULL);
}

void PolicyWriteTest::takesIntegersOfAnySize()
{
    QFETCH(QVariant, value);
    Answer fault;
    const std::optional<PolicyWrite> write =
        policyWrite(QStringLiteral("faillock"), {{QStringLiteral("deny"), value}}, {}, &fault);

    QVERIFY2(write, qPrintable(fault.errorText));
    QCOMPARE(write->policy, &faillockPolicy());
    QCOMPARE(typedEntries(write->wish.values), QStringList{QStringLiteral("deny: qlonglong 7")});
}

void PolicyWriteTest::takesOptions_data()
{
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QString>("expected");
    const auto add = [](const char *name, const QVariantMap &options, const char *expected) {
        QTest::newRow(name) << options << QString::fromLatin1(expected);
    };
    const QString merge = QStringLiteral("merge");
    const QString on = QStringLiteral("on");
    const QString force = QStringLiteral("force");
    add("none", {}, "stay");
    add("on", {{on, true}}, "on");
    add("off", {{on, false}}, "off");
    add("forced", {{on, true}, {force, true}}, "on, force");
    add("merged", {{merge, true}}, "stay, merge");
    add("less",
        {{merge, true}, {QStringLiteral("unset"), QStringList{QStringLiteral("remember"), QStringLiteral("retry")}}},
        "stay, merge, without remember retry");
    add("root too", {{QStringLiteral("lock-root"), true}}, "stay, root");
    add("denied", {{merge, false}, {force, false}}, "stay");
}

void PolicyWriteTest::takesOptions()
{
    QFETCH(QVariantMap, options);
    Answer fault;
    const std::optional<PolicyWrite> write = policyWrite(QStringLiteral("pwhistory"), {}, options, &fault);

    QVERIFY2(write, qPrintable(fault.errorText));
    const QMap<ModuleWish::Switch, QString> switches{{ModuleWish::Switch::Stay, QStringLiteral("stay")},
                                                     {ModuleWish::Switch::On, QStringLiteral("on")},
                                                     {ModuleWish::Switch::Off, QStringLiteral("off")}};
    QString told = switches.value(write->wish.profiles);
    told += write->wish.force ? QStringLiteral(", force") : QString();
    told += write->wish.merges ? QStringLiteral(", merge") : QString();
    told += write->wish.unset.isEmpty() ? QString()
                                        : QStringLiteral(", without ") + write->wish.unset.join(QLatin1Char(' '));
    told += write->mayLockRoot ? QStringLiteral(", root") : QString();
    QTEST(told, "expected");
}

void PolicyWriteTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QString>("policy");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QString>("expected");
    const auto add = [](const char *name,
                        const char *policy,
                        const QVariantMap &values,
                        const QVariantMap &options,
                        const QString &expected) {
        QTest::newRow(name) << QString::fromLatin1(policy) << values << options << expected;
    };
    const auto value = [](const char *name, const QVariant &given) {
        return QVariantMap{{QString::fromLatin1(name), given}};
    };
    const QString longName(1000, QLatin1Char('x'));
    add("no policy", "", {}, {}, QStringLiteral("UnknownPolicy: no such policy: "));
    add("policy of the helper's", "lockout", {}, {}, QStringLiteral("UnknownPolicy: no such policy: lockout"));
    add("long policy",
        longName.toLatin1().constData(),
        {},
        {},
        QStringLiteral("UnknownPolicy: no such policy: ") + longName.left(64));
    add("setting of another policy",
        "faillock",
        value("minlen", 8),
        {},
        QStringLiteral("UnknownSetting: faillock has no such setting: minlen"));
    add("text for a number",
        "faillock",
        value("deny", QStringLiteral("5")),
        {},
        QStringLiteral("InvalidValue: deny has another type"));
    add("number for a flag", "faillock", value("audit", 1), {}, QStringLiteral("InvalidValue: audit has another type"));
    add("fraction", "faillock", value("deny", 2.5), {}, QStringLiteral("InvalidValue: deny has another type"));
    add("list", "faillock", value("deny", QVariantList{5}), {}, QStringLiteral("InvalidValue: deny has another type"));
    add("more than 63 bits",
        "faillock",
        value("deny", ~0ULL),
        {},
        QStringLiteral("InvalidValue: deny has another type"));
    add("out of range", "faillock", value("deny", -1), {}, QStringLiteral("InvalidValue: deny cannot be -1"));
    add("a line more",
        "faillock",
        value("admin_group", QStringLiteral("a\ndeny=0")),
        {},
        QStringLiteral("InvalidValue: admin_group cannot be a\ndeny=0"));
    add("long text",
        "faillock",
        value("dir", QString(QLatin1Char('/')) + QString(4096, QLatin1Char('x'))),
        {},
        QStringLiteral("InvalidValue: dir: too long"));
    add("unknown option", "pwquality", {}, value("off", true), QStringLiteral("InvalidOption: no such option: off"));
    add("less of what isn't there",
        "faillock",
        {},
        value("unset", QStringList{QStringLiteral("minlen")}),
        QStringLiteral("UnknownSetting: faillock has no such setting: minlen"));
    add("less in another type",
        "faillock",
        {},
        value("unset", true),
        QStringLiteral("InvalidOption: unset is a list of names"));
    add("option of another type",
        "pwquality",
        {},
        value("on", 1),
        QStringLiteral("InvalidOption: options are booleans: merge, on, force, lock-root"));
}

void PolicyWriteTest::tellsWhatIsWrong()
{
    QFETCH(QString, policy);
    QFETCH(QVariantMap, values);
    QFETCH(QVariantMap, options);
    Answer fault;

    QVERIFY(!policyWrite(policy, values, options, &fault));
    QTEST(QString(fault.error + QLatin1String(": ") + fault.errorText), "expected");
    QCOMPARE(fault.values, QVariantList());
}

QTEST_GUILESS_MAIN(PolicyWriteTest)
#include "PolicyWriteTest.moc"
