// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The policies of PAM's modules as people type them, with real PAM: ModulesTest.answers, and what needs more than a shell.

#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "policies/modules/ModulePolicy.h"
#include "tests/endtoend/Sessions.h"
#include "tests/support/PseudoTerminal.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace
{
const QString baselinesFolder = QStringLiteral("/usr/share/accountpolicyctl/baselines");

/// "policy key" for each member of the objects in the object.
QStringList membersOf(const QJsonObject &object)
{
    QStringList members;
    for (auto policy = object.begin(); policy != object.end(); ++policy) {
        for (const QString &key : policy->toObject().keys()) {
            members += policy.key() + QLatin1Char(' ') + key;
        }
    }
    return members;
}

/// A line for each setting: its name, kind and range, as the client has them.
QStringList describedByClient(const Policy &policy)
{
    static const char *const kinds[] = {"flag", "switch", "number", "date", "text"};
    QStringList lines;
    for (const Setting &setting : policy.schema.settings) {
        if (setting.key != enabledKey()) {
            lines += QStringLiteral("%1 %2 %3 %4 %5")
                         .arg(setting.key, QLatin1String(kinds[static_cast<int>(setting.kind)]))
                         .arg(setting.minimum)
                         .arg(setting.maximum)
                         .arg(setting.never == Never::Zero);
        }
    }
    return lines;
}

/// The same as the module's table has them.
QStringList describedByModule(const ModulePolicy &module)
{
    static const char *const kinds[] = {"flag", "switch", "number", "number", "text", "text"};
    QStringList lines;
    for (const ModuleSetting &setting : module.settings) {
        lines += QStringLiteral("%1 %2 %3 %4 %5")
                     .arg(setting.name, QLatin1String(kinds[static_cast<int>(setting.kind)]))
                     .arg(setting.minimum)
                     .arg(setting.maximum)
                     .arg(setting.zeroIsNever);
    }
    return lines;
}
}

class ModulesTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void haveTheSettingsOfTheModules_data();
    void haveTheSettingsOfTheModules();
    void asksBeforeRootCanBeLocked_data();
    void asksBeforeRootCanBeLocked();
    void hasAReasonForEachValueOfABaseline_data();
    void hasAReasonForEachValueOfABaseline();
    void putsABaselineInForce_data();
    void putsABaselineInForce();
};

void ModulesTest::haveTheSettingsOfTheModules_data()
{
    QTest::addColumn<bool>("canBeSwitched");
    QTest::newRow("faillock") << true;
    QTest::newRow("pwquality") << false;
    QTest::newRow("pwhistory") << true;
}

void ModulesTest::haveTheSettingsOfTheModules()
{
    const QString name = QString::fromLatin1(QTest::currentDataTag());

    QCOMPARE(describedByClient(*findPolicy(name)), describedByModule(*modulePolicy(name)));
    QTEST(findPolicy(name)->schema.find(enabledKey()) != nullptr, "canBeSwitched");
    QCOMPARE(!modulePolicy(name)->profiles.isEmpty(), findPolicy(name)->schema.find(enabledKey()) != nullptr);
}

void ModulesTest::asksBeforeRootCanBeLocked_data()
{
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("inForce");
    QTest::newRow("yes") << QByteArray("yes\r") << 0 << QByteArray("yes\n");
    QTest::newRow("no") << QByteArray("no\r") << 3 << QByteArray("no\n");
    QTest::newRow("nothing") << QByteArray("\r") << 3 << QByteArray("no\n");
}

void ModulesTest::asksBeforeRootCanBeLocked()
{
    QFETCH(QByteArray, typed);
    qputenv("XDG_STATE_HOME", stateFolder(root).toLatin1());
    QDir().mkpath(stateFolder(root));
    PseudoTerminal terminal(
        root, QStringLiteral("accountpolicyctl"), splitWords(QStringLiteral("set faillock even_deny_root=yes")));
    QVERIFY(terminal.waitFor("Type yes to go on: "));
    terminal.type(typed);

    QTEST(terminal.waitForEnd(), "exitCode");
    QTEST(client(nobody, "show faillock even_deny_root").standardOutput, "inForce");
}

void ModulesTest::hasAReasonForEachValueOfABaseline_data()
{
    QTest::addColumn<QJsonObject>("document");
    for (const QFileInfo &file : QDir(baselinesFolder).entryInfoList(QDir::Files)) {
        QTest::newRow(qPrintable(file.fileName())) << QJsonDocument::fromJson(contentOf(file.filePath())).object();
    }
    QCOMPARE(QDir(baselinesFolder).entryList(QDir::Files),
             QStringList({QStringLiteral("server.json"), QStringLiteral("workstation.json")}));
}

void ModulesTest::hasAReasonForEachValueOfABaseline()
{
    QFETCH(QJsonObject, document);
    const QJsonObject reasons = document.value(QStringLiteral("reasons")).toObject();

    QCOMPARE(membersOf(reasons), membersOf(document.value(QStringLiteral("policies")).toObject()));
    for (const QJsonValue policy : reasons) {
        for (const QJsonValue reason : policy.toObject()) {
            QCOMPARE(reason.toObject().keys(), QStringList({QStringLiteral("follows"), QStringLiteral("why")}));
            QVERIFY(!reason[QStringLiteral("why")].toString().isEmpty());
            QVERIFY(!reason[QStringLiteral("follows")].toString().isEmpty());
        }
    }
}

void ModulesTest::putsABaselineInForce_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("workstation") << QByteArray("faillock: in force\npwquality: in force\npwhistory: in force\n");
    QTest::newRow("server") << QByteArray(
        "expiration: in force\nfaillock: in force\npwquality: in force\npwhistory: in force\n");
}

void ModulesTest::putsABaselineInForce()
{
    const QByteArray file = baselinesFolder.toLatin1() + '/' + QTest::currentDataTag() + ".json";

    QCOMPARE(client(nobody, ("check " + file).constData()).exitCode, 6);
    const ProgramResult applied = client(root, ("apply " + file).constData());
    QCOMPARE(applied.standardError, QByteArray());
    QTEST(applied.standardOutput, "answer");
    QCOMPARE(client(nobody, ("check " + file).constData()), ProgramResult({0, {}, {}}));
}

QTEST_GUILESS_MAIN(ModulesTest)
#include "ModulesTest.moc"
