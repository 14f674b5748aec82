// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The tables of docs/interface.md: what they promise is what the system does. Its texts are SourceTextsTest's.

#include "client/settings/Policies.h"
#include "helper/AccountPoliciesHelper.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"
#include "tests/support/InterfacePage.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QFile>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <memory>

namespace
{
const QStringList policies{QStringLiteral("lockout"), QStringLiteral("complexity"), QStringLiteral("expiration")};
const QString loginDefs = QStringLiteral("/etc/login.defs");
const QString useradd = QStringLiteral("/etc/default/useradd");

QString codeOf(const QString &cell)
{
    return codeIn(cell).join(QLatin1Char(' '));
}

QStringList actions()
{
    QStringList names;
    for (const QStringList &row : interfaceTable(QStringLiteral("Actions"))) {
        names += codeOf(row.at(0));
    }
    return names;
}

QVariantMap call(const QString &action, const QVariantMap &arguments = {})
{
    AccountPoliciesHelper helper;
    ActionReply reply;
    QMetaObject::invokeMethod(&helper,
                              action.toLatin1().constData(),
                              Qt::DirectConnection,
                              Q_RETURN_ARG(ActionReply, reply),
                              Q_ARG(QVariantMap, arguments));
    return reply.data();
}

QVariantMap read(const QString &policy)
{
    return call(actions().at(2 * policies.indexOf(policy)));
}

QVector<QStringList> keysOf(const QString &policy)
{
    QVector<QStringList> keys = interfaceTable(QStringLiteral("Keys"));
    keys.erase(std::remove_if(keys.begin(),
                              keys.end(),
                              [&](const QStringList &row) {
                                  return row.at(0) != policy;
                              }),
               keys.end());
    return keys;
}

/// Writes true under each flag and 5 under each number.
QVariantMap writeAll(const QString &policy)
{
    QVariantMap arguments;
    for (const QStringList &key : keysOf(policy)) {
        arguments.insert(codeOf(key.at(1)), key.at(2) == QLatin1String("bool") ? QVariant(true) : QVariant(5));
    }
    return call(actions().at(2 * policies.indexOf(policy) + 1), arguments);
}

FolderContent everything()
{
    FolderContent all;
    for (const QString &folder : {QStringLiteral("/etc"), QStringLiteral("/usr/share/pam-configs")}) {
        const FolderContent files = contentBelow(folder);
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            all.insert(folder + QLatin1Char('/') + file.key(), file.value());
        }
    }
    return all;
}
}

class InterfaceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void namesSlotsAndPolkitsActionsInTheirOrder();
    void namesTheTaskOfEachAction();
    void tellsKeysTypesAndTexts_data();
    void tellsKeysTypesAndTexts();
    void tellsTheFilesThatAreWritten();
    void tellsTheFilesThatAreRead();
    void tellsTheKeysOfAnAccount();
    void declaresWhatTheHeadersDo();

private:
    std::unique_ptr<PamSystem> m_pam;
};

void InterfaceTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void InterfaceTest::init()
{
    m_pam = std::make_unique<PamSystem>();
    writeContent(PamSystem::profile(QStringLiteral("tally")), "pam_tally.so\n");
    writeContent(PamSystem::profile(QStringLiteral("cracklib")), "pam_cracklib.so\n");
    writeContent(PamSystem::profile(QStringLiteral("pwquality")), "pam_pwquality.so\n");
    writeContent(PamSystem::stack(QStringLiteral("common-auth")), "pam_tally.so deny=3\n");
    writeContent(PamSystem::stack(QStringLiteral("common-password")), "pam_pwquality.so minlen=3\n");
    writeContent(loginDefs, QByteArray());
    writeContent(useradd, QByteArray());
    QFile::remove(loginDefs + QLatin1String(".bak"));
    QFile::remove(useradd + QLatin1String(".bak"));
}

void InterfaceTest::cleanup()
{
    m_pam.reset();
}

void InterfaceTest::namesSlotsAndPolkitsActionsInTheirOrder()
{
    const QMetaObject &helper = AccountPoliciesHelper::staticMetaObject;
    QStringList slotNames;
    for (int i = helper.methodOffset(); i < helper.methodCount(); ++i) {
        slotNames += QString::fromLatin1(helper.method(i).name());
    }
    QStringList ids;
    const QString file = QString::fromUtf8(contentOf(QStringLiteral(SOURCES "/helper/accountpolicies.policy.in")));
    for (const QString &action : file.split(QStringLiteral("<action id=\"@HELPER_ID@.")).mid(1)) {
        ids += action.section(QLatin1Char('"'), 0, 0);
    }

    QCOMPARE(slotNames, actions());
    QCOMPARE(ids, actions());
}

void InterfaceTest::namesTheTaskOfEachAction()
{
    QMap<QString, QString> titles; // each context's first text
    for (const QStringList &row : interfaceTable(QStringLiteral("Texts"))) {
        if (!titles.contains(row.at(0))) {
            titles.insert(row.at(0), codeOf(row.at(1)));
        }
    }
    m_pam.reset();
    m_pam = std::make_unique<PamSystem>(); // without files each of them fails
    QFile::remove(loginDefs);

    for (const QStringList &row : interfaceTable(QStringLiteral("Actions"))) {
        QCOMPARE(call(codeOf(row.at(0))).value(QStringLiteral("description")).toString(),
                 titles.value(codeOf(row.at(1))));
    }
}

void InterfaceTest::tellsKeysTypesAndTexts_data()
{
    QTest::addColumn<QString>("head");
    QTest::addColumn<QString>("profile");
    QTest::addColumn<QString>("stack");
    QTest::newRow("lockout") << "pam_tally.so"
                             << "tally"
                             << "common-auth";
    QTest::newRow("complexity") << "pam_cracklib.so"
                                << "cracklib"
                                << "common-password";
    QTest::newRow("complexity") << "pam_pwquality.so"
                                << "pwquality"
                                << "common-password";
    QTest::newRow("expiration") << QString() << QString() << QString();
}

void InterfaceTest::tellsKeysTypesAndTexts()
{
    QFETCH(QString, head);
    QFETCH(QString, profile);
    QFETCH(QString, stack);
    const QString policy = QString::fromLatin1(QTest::currentDataTag());
    QStringList texts;
    QStringList entries;
    QStringList keys;
    for (const QStringList &key : keysOf(policy)) {
        keys += codeOf(key.at(1));
        texts += codeOf(key.at(3));
        const QString value = key.at(2) == QLatin1String("bool") ? QStringLiteral("true") : QStringLiteral("5");
        entries += QStringLiteral("%1: %2 %3").arg(codeOf(key.at(1)), key.at(2), value);
    }
    entries.sort();

    QCOMPARE(keys, findPolicy(policy)->schema.keys());
    QCOMPARE(writeAll(policy).contains(QStringLiteral("error")), false);

    if (profile.isEmpty()) {
        QCOMPARE(QString::fromUtf8(contentOf(loginDefs) + contentOf(useradd)), texts.join(QLatin1Char('\n')));
    } else {
        const QByteArray line = contentOf(PamSystem::profile(profile));
        QCOMPARE(QString::fromUtf8(line), head + QLatin1Char(' ') + texts.join(QLatin1Char(' ')) + QLatin1Char('\n'));
        writeContent(PamSystem::stack(stack), line);
    }
    QCOMPARE(typedEntries(read(policy)), entries);
}

void InterfaceTest::tellsTheFilesThatAreWritten()
{
    const FolderContent before = everything();
    QStringList expected;
    for (const QStringList &row : interfaceTable(QStringLiteral("Files"))) {
        expected += row.at(2).isEmpty() ? QStringList() : codeIn(row.at(0));
        expected += codeIn(row.at(3));
    }
    expected.sort();

    for (const QString &policy : policies) {
        writeAll(policy);
    }

    const FolderContent after = everything();
    QStringList written;
    for (auto file = after.cbegin(); file != after.cend(); ++file) {
        if (!before.contains(file.key()) || before.value(file.key()) != file.value()) {
            written += file.key();
        }
    }
    QCOMPARE(written, expected);
}

void InterfaceTest::tellsTheFilesThatAreRead()
{
    for (const QStringList &row : interfaceTable(QStringLiteral("Files"))) {
        if (row.at(1).isEmpty()) {
            continue;
        }
        const QString file = codeOf(row.at(0));
        const QByteArray content = contentOf(file);
        QVERIFY(QFile::remove(file));
        QCOMPARE(read(row.at(1)).value(QStringLiteral("message")).toString(),
                 QStringLiteral("\"%1\" not exists").arg(file));
        writeContent(file, content);
    }
}

void InterfaceTest::tellsTheKeysOfAnAccount()
{
    const QString passwd = QStringLiteral("/etc/passwd");
    const QString shadow = QStringLiteral("/etc/shadow");
    writeContent(passwd, contentOf(passwd) + "john:x:4321:4321::/nonexistent:/bin/sh\n");
    writeContent(shadow, contentOf(shadow) + "john:!:1:5:5:5:5:5:\n");
    LocalUserPolicyPasswordExpirationReadTask task(nullptr);
    task.values()->insert(QStringLiteral("name"), QStringLiteral("john"));
    task.run();

    const QStringList row = interfaceTable(QStringLiteral("What nothing calls yet")).at(1);
    QCOMPARE(row.at(0), QStringLiteral("`LocalUserPolicyPasswordExpirationReadTask`"));
    QStringList entries{QStringLiteral("%1: QString john").arg(codeOf(row.at(1)))};
    for (const QString &key : codeIn(row.at(2))) {
        entries += QStringLiteral("%1: qlonglong 5").arg(key);
    }
    entries.sort();
    QCOMPARE(typedEntries(*task.values()), entries);
}

void InterfaceTest::declaresWhatTheHeadersDo()
{
    const QRegularExpression form(QStringLiteral("^(.*[ *&])?((?:\\w+::)*)(\\w+)\\((.*)\\)( const)?$"));
    QString source = QStringLiteral("#include <type_traits>\n");
    for (const QStringList &row : interfaceTable(QStringLiteral("Classes and functions"))) {
        source += QStringLiteral("#include \"%1\"\n").arg(codeOf(row.at(0)));
        for (const QString &code : codeIn(row.at(1))) {
            const QStringList part = form.match(code).capturedTexts();
            QVERIFY2(part.size() > 4, qPrintable(code));
            const QString name = part.at(2) + part.at(3);
            source += part.at(1).isEmpty()
                ? QStringLiteral("static_assert(std::is_constructible_v<%1>);\n")
                      .arg(part.at(4).isEmpty() ? name : name + QLatin1String(", ") + part.at(4))
                : QStringLiteral("static_assert(std::is_same_v<decltype(&%1), %2(%3*)(%4)%5>);\n")
                      .arg(name, part.at(1), part.at(2), part.at(4), part.value(5));
        }
    }
    QStringList arguments{QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"), QStringLiteral("-fsyntax-only")};
    for (const QString &folder : QStringLiteral(INCLUDES).split(QLatin1Char(':'))) {
        arguments += {QStringLiteral("-isystem"), folder};
    }
    arguments += {QStringLiteral("-x"), QStringLiteral("c++"), QStringLiteral("-")};

    const ProgramResult compiler = runAs(root, QStringLiteral(COMPILER), arguments, source.toUtf8());

    QCOMPARE(QString::fromLocal8Bit(compiler.standardError), QString());
    QCOMPARE(compiler.exitCode, 0);
}

QTEST_GUILESS_MAIN(InterfaceTest)
#include "InterfaceTest.moc"
