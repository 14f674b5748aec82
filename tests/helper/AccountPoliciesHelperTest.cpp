// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/AccountPoliciesHelper.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"
#include "tests/support/WatchedMap.h"

#include <QFile>
#include <QMetaMethod>
#include <QTest>

namespace
{
const QStringList slotNames{QStringLiteral("readaccountslockoutpolicy"),
                            QStringLiteral("writeaccountslockoutpolicy"),
                            QStringLiteral("readpasswordcomplexitypolicy"),
                            QStringLiteral("writepasswordcomplexitypolicy"),
                            QStringLiteral("readpasswordexpirationpolicy"),
                            QStringLiteral("writepasswordexpirationpolicy")};
constexpr int slotCount = 6;

const char tallyProfile[] = "/usr/share/pam-configs/tally";
const char pwqualityProfile[] = "/usr/share/pam-configs/pwquality";
const char pamAuthUpdate[] = "/usr/sbin/pam-auth-update";

QString path(const char *name)
{
    return QString::fromLatin1(name);
}

/// Calls a slot as KAuth does: by its name, through the meta-object.
ActionReply callByName(QObject *helper, const QString &slot, const QVariantMap &args)
{
    ActionReply reply;
    reply.setError(-1);
    if (!QMetaObject::invokeMethod(helper,
                                   slot.toLatin1().constData(),
                                   Qt::DirectConnection,
                                   Q_RETURN_ARG(ActionReply, reply),
                                   Q_ARG(QVariantMap, args))) {
        qFatal("no slot %s", qPrintable(slot));
    }
    return reply;
}

QStringList dataOf(QObject *helper, const QString &slot, const QVariantMap &args = {})
{
    return typedEntries(callByName(helper, slot, args).data());
}

/// Calls slot @p id (0 is the helper's first) through qt_metacall; what that returns, less the methods of QObject.
int metacall(AccountPoliciesHelper *helper, QMetaObject::Call call, int id, void **arguments)
{
    return helper->qt_metacall(call, AccountPoliciesHelper::staticMetaObject.methodOffset() + id, arguments);
}
}

class AccountPoliciesHelperTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void hasNothingButItsSlots();
    void declaresSlotsInOrder_data();
    void declaresSlotsInOrder();
    void castsByName();
    void runsTheTaskOfTheSlot_data();
    void runsTheTaskOfTheSlot();
    void ignoresArgumentsOfReads();
    void answersFailureAsSuccessWithErrorData();
    void reportsFailureOfTheTaskOfTheSlot_data();
    void reportsFailureOfTheTaskOfTheSlot();
    void succeedsAfterFailure();
    void keepsTextsAmongArgumentsOfSuccess();
    void dropsErrorArgumentAndNoticeOfSuccess();
    void leavesNoTraceOfOneActionInTheNext();
    void leavesArgumentsOfTheCallerAlone();
    void freesArgumentsWithTheTask_data();
    void freesArgumentsWithTheTask();
    void invokesByIndex();
    void tellsHowFarIdsAreBelowTheEnd_data();
    void tellsHowFarIdsAreBelowTheEnd();
    void leavesIdsOfItsBaseAsTheBaseReturnsThem();
    void invokesWithoutPlaceForTheReply();
    void knowsNoTypesOfArguments();
    void invokesNothingBeyondItsSlots_data();
    void invokesNothingBeyondItsSlots();

private:
    AccountPoliciesHelper m_helper;
};

void AccountPoliciesHelperTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    writeProgram(path(pamAuthUpdate), "#!/bin/sh\nexit 0\n");
}

void AccountPoliciesHelperTest::init()
{
    writeContent(QStringLiteral("/etc/pam.d/common-auth"), "auth required pam_tally.so deny=3\n");
    writeContent(QStringLiteral("/etc/pam.d/common-password"), "password requisite pam_pwquality.so minlen=9\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 5\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "EXPIRE=1970-01-02\n");
    writeContent(path(tallyProfile), "required pam_tally.so\n");
    writeContent(path(pwqualityProfile), "requisite pam_pwquality.so\n");
    QFile::remove(QStringLiteral("/usr/share/pam-configs/cracklib"));
}

void AccountPoliciesHelperTest::hasNothingButItsSlots()
{
    const QMetaObject *meta = m_helper.metaObject();

    QCOMPARE(meta, &AccountPoliciesHelper::staticMetaObject);
    QCOMPARE(QByteArray(meta->className()), QByteArray("AccountPoliciesHelper"));
    QCOMPARE(meta->superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta->methodCount() - meta->methodOffset(), slotCount);
    QCOMPARE(meta->propertyCount() - meta->propertyOffset(), 0);
    QCOMPARE(meta->enumeratorCount() - meta->enumeratorOffset(), 0);
    QCOMPARE(meta->constructorCount(), 0);
    QCOMPARE(meta->classInfoCount(), 0);
    // no data of its own either: nothing can survive between two actions
    QCOMPARE(sizeof(AccountPoliciesHelper), sizeof(QObject));
}

void AccountPoliciesHelperTest::declaresSlotsInOrder_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < slotCount; ++i) {
        QTest::newRow(qPrintable(slotNames.at(i))) << i;
    }
}

void AccountPoliciesHelperTest::declaresSlotsInOrder()
{
    QFETCH(int, index);
    const QMetaMethod method = m_helper.metaObject()->method(m_helper.metaObject()->methodOffset() + index);

    QCOMPARE(method.methodSignature(), slotNames.at(index).toLatin1() + "(QVariantMap)");
    QCOMPARE(method.methodType(), QMetaMethod::Slot);
    QCOMPARE(method.access(), QMetaMethod::Public);
    QCOMPARE(QByteArray(method.typeName()), QByteArray("ActionReply"));
    QCOMPARE(method.parameterNames(), QList<QByteArray>{"args"});
    QCOMPARE(method.parameterTypes(), QList<QByteArray>{"QVariantMap"});
}

void AccountPoliciesHelperTest::castsByName()
{
    QCOMPARE(m_helper.qt_metacast("AccountPoliciesHelper"), static_cast<void *>(&m_helper));
    QCOMPARE(m_helper.qt_metacast("QObject"), static_cast<void *>(static_cast<QObject *>(&m_helper)));
    QCOMPARE(m_helper.qt_metacast("OtherHelper"), nullptr);
    QCOMPARE(m_helper.qt_metacast(nullptr), nullptr);
}

void AccountPoliciesHelperTest::runsTheTaskOfTheSlot_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("read lockout") << slotNames.at(0) << QVariantMap()
                                  << QStringList{QStringLiteral("deny: int 3"),
                                                 QStringLiteral("magic_root: bool false"),
                                                 QStringLiteral("no_reset: bool false"),
                                                 QStringLiteral("per_user: bool false")}
                                  << path(tallyProfile) << QByteArray("required pam_tally.so\n");
    QTest::newRow("write lockout") << slotNames.at(1) << QVariantMap{{QStringLiteral("deny"), 4}}
                                   << QStringList{QStringLiteral("deny: int 4")} << path(tallyProfile)
                                   << QByteArray("required pam_tally.so deny=4\n");
    QTest::newRow("read complexity") << slotNames.at(2) << QVariantMap()
                                     << QStringList{QStringLiteral("enforce_for_root: bool false"),
                                                    QStringLiteral("gecoscheck: bool false"),
                                                    QStringLiteral("minlen: int 9"),
                                                    QStringLiteral("reject_username: bool false")}
                                     << path(pwqualityProfile) << QByteArray("requisite pam_pwquality.so\n");
    QTest::newRow("write complexity") << slotNames.at(3) << QVariantMap{{QStringLiteral("minlen"), qlonglong(8)}}
                                      << QStringList{QStringLiteral("minlen: qlonglong 8")} << path(pwqualityProfile)
                                      << QByteArray("requisite pam_pwquality.so minlen=8\n");
    QTest::newRow("read expiration") << slotNames.at(4) << QVariantMap()
                                     << QStringList{QStringLiteral("expireDate: qlonglong 1"),
                                                    QStringLiteral("maxInterval: int 5")}
                                     << QStringLiteral("/etc/login.defs") << QByteArray("PASS_MAX_DAYS 5\n");
    QTest::newRow("write expiration") << slotNames.at(5) << QVariantMap{{QStringLiteral("maxInterval"), 6}}
                                      << QStringList{QStringLiteral("maxInterval: int 6")}
                                      << QStringLiteral("/etc/login.defs") << QByteArray("PASS_MAX_DAYS 6\n");
}

void AccountPoliciesHelperTest::runsTheTaskOfTheSlot()
{
    QFETCH(QString, slot);
    QFETCH(QVariantMap, args);
    QFETCH(QStringList, entries);
    QFETCH(QString, file);
    QFETCH(QByteArray, content);

    const ActionReply reply = callByName(&m_helper, slot, args);

    QCOMPARE(typedEntries(reply.data()), entries);
    QCOMPARE(contentOf(file), content);
    QCOMPARE(reply.type(), ActionReply::SuccessType);
    QCOMPARE(reply.errorCode(), ActionReply::NoError);
    QCOMPARE(reply.errorDescription(), QString());
}

void AccountPoliciesHelperTest::ignoresArgumentsOfReads()
{
    const QVariantMap args{{QStringLiteral("deny"), 99},
                           {QStringLiteral("x"), 1},
                           {QStringLiteral("maxInterval"), 1},
                           {QStringLiteral("name"), QStringLiteral("root")}};

    for (const int read : {0, 2, 4}) {
        QCOMPARE(dataOf(&m_helper, slotNames.at(read), args), dataOf(&m_helper, slotNames.at(read)));
    }
}

void AccountPoliciesHelperTest::answersFailureAsSuccessWithErrorData()
{
    QVERIFY(QFile::remove(path(tallyProfile)));

    const ActionReply reply =
        callByName(&m_helper, slotNames.at(1), {{QStringLiteral("deny"), 4}, {QStringLiteral("message"), 1}});

    QCOMPARE(reply.type(), ActionReply::SuccessType);
    QCOMPARE(reply.errorCode(), ActionReply::NoError);
    QCOMPARE(reply.errorDescription(), QString());
    QCOMPARE(typedEntries(reply.data()),
             QStringList({QStringLiteral("deny: int 4"),
                          QStringLiteral("description: QString Update default lockout account policy"),
                          QStringLiteral("error: bool true"),
                          QStringLiteral("message: QString \"/usr/share/pam-configs/tally\" not exists")}));
}

void AccountPoliciesHelperTest::reportsFailureOfTheTaskOfTheSlot_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("message");

    const QStringList echo{QStringLiteral("x: int 1")};
    QTest::newRow("read lockout") << slotNames.at(0)
                                  << QStringList{QStringLiteral("magic_root: bool false"),
                                                 QStringLiteral("no_reset: bool false"),
                                                 QStringLiteral("per_user: bool false")}
                                  << "Read default lockout account policy"
                                  << "\"/etc/pam.d/common-auth\" not exists";
    QTest::newRow("write lockout") << slotNames.at(1) << echo << "Update default lockout account policy"
                                   << "\"/usr/share/pam-configs/tally\" not exists";
    QTest::newRow("read complexity") << slotNames.at(2)
                                     << QStringList{QStringLiteral("enforce_for_root: bool false"),
                                                    QStringLiteral("gecoscheck: bool false"),
                                                    QStringLiteral("reject_username: bool false")}
                                     << "Read default password complexity policy"
                                     << "\"/etc/pam.d/common-password\" not exists";
    QTest::newRow("write complexity") << slotNames.at(3) << echo << "Update default password complexity policy"
                                      << "Both profiles of supported PAM modules do not exist "
                                         "(/usr/share/pam-configs/cracklib, /usr/share/pam-configs/pwquality)";
    QTest::newRow("read expiration") << slotNames.at(4) << QStringList() << "Read default password expiration policy"
                                     << "\"/etc/login.defs\" not exists";
    QTest::newRow("write expiration") << slotNames.at(5) << echo << "Update default password expiration policy"
                                      << "\"/etc/login.defs\" not exists";
}

void AccountPoliciesHelperTest::reportsFailureOfTheTaskOfTheSlot()
{
    QFETCH(QString, slot);
    QFETCH(QStringList, values);
    QFETCH(QString, description);
    QFETCH(QString, message);
    for (const char *file :
         {"/etc/pam.d/common-auth", "/etc/pam.d/common-password", "/etc/login.defs", tallyProfile, pwqualityProfile}) {
        QVERIFY(QFile::remove(path(file)));
    }

    const ActionReply reply =
        callByName(&m_helper, slot, {{QStringLiteral("x"), 1}, {QStringLiteral("error"), QStringLiteral("mine")}});

    QStringList entries = values
        + QStringList{QStringLiteral("error: bool true"),
                      QLatin1String("description: QString ") + description,
                      QLatin1String("message: QString ") + message};
    entries.sort();
    QCOMPARE(typedEntries(reply.data()), entries);
    QCOMPARE(reply.type(), ActionReply::SuccessType);
    QCOMPARE(reply.errorCode(), ActionReply::NoError);
    QCOMPARE(reply.errorDescription(), QString());
}

void AccountPoliciesHelperTest::succeedsAfterFailure()
{
    const QString write = slotNames.at(1);
    QVERIFY(QFile::remove(path(tallyProfile)));
    QVERIFY(callByName(&m_helper, write, {{QStringLiteral("deny"), 4}}).data().contains(QStringLiteral("error")));
    writeContent(path(tallyProfile), "required pam_tally.so\n");

    QCOMPARE(dataOf(&m_helper, write, {{QStringLiteral("lock_time"), 3}}),
             QStringList{QStringLiteral("lock_time: int 3")});
    QCOMPARE(contentOf(path(tallyProfile)), QByteArray("required pam_tally.so lock_time=3\n"));
}

void AccountPoliciesHelperTest::keepsTextsAmongArgumentsOfSuccess()
{
    const QVariantMap args{{QStringLiteral("error"), 5},
                           {QStringLiteral("description"), QStringLiteral("mine")},
                           {QStringLiteral("message"), 7}};
    const QStringList entries{QStringLiteral("description: QString mine"), QStringLiteral("message: int 7")};

    for (const int write : {1, 3, 5}) {
        QCOMPARE(dataOf(&m_helper, slotNames.at(write), args), entries);
    }
}

void AccountPoliciesHelperTest::dropsErrorArgumentAndNoticeOfSuccess()
{
    const QVariantMap args{{QStringLiteral("error"), true}, {QStringLiteral("minInterval"), 2}};

    QCOMPARE(dataOf(&m_helper, slotNames.at(5), args), QStringList{QStringLiteral("minInterval: int 2")});
}

void AccountPoliciesHelperTest::leavesNoTraceOfOneActionInTheNext()
{
    const QStringList first = dataOf(&m_helper, slotNames.at(0));
    writeContent(QStringLiteral("/etc/pam.d/common-auth"), "auth required pam_tally.so per_user\n");

    QVERIFY(first.contains(QStringLiteral("deny: int 3")));
    QCOMPARE(dataOf(&m_helper, slotNames.at(0)),
             QStringList({QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool true")}));
    QVERIFY(m_helper.children().isEmpty());
    QVERIFY(m_helper.dynamicPropertyNames().isEmpty());
}

void AccountPoliciesHelperTest::leavesArgumentsOfTheCallerAlone()
{
    const QVariantMap args{{QStringLiteral("error"), true}, {QStringLiteral("deny"), 2}};

    m_helper.writeaccountslockoutpolicy(args);

    QCOMPARE(typedEntries(args), QStringList({QStringLiteral("deny: int 2"), QStringLiteral("error: bool true")}));
}

void AccountPoliciesHelperTest::freesArgumentsWithTheTask_data()
{
    QTest::addColumn<QString>("slot");
    for (const QString &slot : slotNames) {
        QTest::newRow(qPrintable(slot)) << slot;
    }
}

void AccountPoliciesHelperTest::freesArgumentsWithTheTask()
{
    QFETCH(QString, slot);
    std::weak_ptr<int> life;
    {
        const std::unique_ptr<QVariantMap> args(newWatchedMap(&life));
        const ActionReply reply = callByName(&m_helper, slot, *args);
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

void AccountPoliciesHelperTest::tellsHowFarIdsAreBelowTheEnd_data()
{
    declaresSlotsInOrder_data();
}

void AccountPoliciesHelperTest::tellsHowFarIdsAreBelowTheEnd()
{
    QFETCH(int, index);
    ActionReply reply;
    QVariantMap args;
    void *invocation[] = {&reply, &args};
    int result = 0;
    int argument = 0;
    void *request[] = {&result, &argument};

    QCOMPARE(metacall(&m_helper, QMetaObject::InvokeMetaMethod, index, invocation), index - slotCount);
    QCOMPARE(metacall(&m_helper, QMetaObject::RegisterMethodArgumentMetaType, index, request), index - slotCount);
}

void AccountPoliciesHelperTest::leavesIdsOfItsBaseAsTheBaseReturnsThem()
{
    // asked for the types of its arguments, a method of the base does nothing
    for (int id = 0; id < AccountPoliciesHelper::staticMetaObject.methodOffset(); ++id) {
        int ofHelper = 99;
        int ofBase = 99;
        int argument = 9;
        void *helperRequest[] = {&ofHelper, &argument};
        void *baseRequest[] = {&ofBase, &argument};
        const auto call = QMetaObject::RegisterMethodArgumentMetaType;
        QObject base;

        QCOMPARE(m_helper.qt_metacall(call, id, helperRequest), base.qt_metacall(call, id, baseRequest));
        QCOMPARE(ofHelper, ofBase);
    }
    for (const int id : {-1, -6, -7}) {
        QCOMPARE(m_helper.qt_metacall(QMetaObject::InvokeMetaMethod, id, nullptr), id);
    }
}

void AccountPoliciesHelperTest::invokesByIndex()
{
    ActionReply reply;
    QVariantMap args{{QStringLiteral("deny"), 8}};
    void *arguments[] = {&reply, &args};

    QVERIFY(metacall(&m_helper, QMetaObject::InvokeMetaMethod, 1, arguments) < 0);

    QCOMPARE(typedEntries(reply.data()), QStringList{QStringLiteral("deny: int 8")});
    QCOMPARE(contentOf(path(tallyProfile)), QByteArray("required pam_tally.so deny=8\n"));
}

void AccountPoliciesHelperTest::invokesWithoutPlaceForTheReply()
{
    QVariantMap args{{QStringLiteral("deny"), 7}};
    void *arguments[] = {nullptr, &args};

    metacall(&m_helper, QMetaObject::InvokeMetaMethod, 1, arguments);

    QCOMPARE(contentOf(path(tallyProfile)), QByteArray("required pam_tally.so deny=7\n"));
}

void AccountPoliciesHelperTest::knowsNoTypesOfArguments()
{
    for (int slot = 0; slot < slotCount; ++slot) {
        int result = 99;
        int argument = 0;
        void *arguments[] = {&result, &argument};
        QVERIFY(metacall(&m_helper, QMetaObject::RegisterMethodArgumentMetaType, slot, arguments) < 0);
        QCOMPARE(result, -1);
    }
}

void AccountPoliciesHelperTest::invokesNothingBeyondItsSlots_data()
{
    QTest::addColumn<int>("call");
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("returned");

    const int invoke = QMetaObject::InvokeMetaMethod;
    const int types = QMetaObject::RegisterMethodArgumentMetaType;
    QTest::newRow("first id beyond") << invoke << 6 << 0;
    QTest::newRow("later id") << invoke << 40 << 34;
    QTest::newRow("types of the first id beyond") << types << 6 << 0;
    QTest::newRow("types of a later id") << types << 40 << 34;
}

void AccountPoliciesHelperTest::invokesNothingBeyondItsSlots()
{
    QFETCH(int, call);
    QFETCH(int, id);
    QFETCH(int, returned);
    ActionReply reply;
    QVariantMap args{{QStringLiteral("deny"), 1}};
    void *arguments[] = {&reply, &args};
    const QByteArray before = contentOf(path(tallyProfile)) + contentOf(path(pwqualityProfile))
        + contentOf(QStringLiteral("/etc/login.defs"));

    QCOMPARE(metacall(&m_helper, static_cast<QMetaObject::Call>(call), id, arguments), returned);
    QCOMPARE(m_helper.qt_metacall(static_cast<QMetaObject::Call>(call), -1, arguments), -1);
    AccountPoliciesHelper::staticMetaObject.d.static_metacall(
        &m_helper, static_cast<QMetaObject::Call>(call), id, arguments);

    QCOMPARE(contentOf(path(tallyProfile)) + contentOf(path(pwqualityProfile))
                 + contentOf(QStringLiteral("/etc/login.defs")),
             before);
    QCOMPARE(typedEntries(reply.data()), QStringList());
}

QTEST_GUILESS_MAIN(AccountPoliciesHelperTest)
#include "AccountPoliciesHelperTest.moc"
