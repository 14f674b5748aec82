// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/AccountPoliciesHelper.h"

#include "tests/support/Files.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"
#include "tests/support/WatchedMap.h"

#include <QFile>
#include <QMetaMethod>
#include <QTest>

namespace
{
const char readLockout[] = "readaccountslockoutpolicy";
const char writeLockout[] = "writeaccountslockoutpolicy";
const char readComplexity[] = "readpasswordcomplexitypolicy";
const char writeComplexity[] = "writepasswordcomplexitypolicy";
const char readExpiration[] = "readpasswordexpirationpolicy";
const char writeExpiration[] = "writepasswordexpirationpolicy";
/// In the order of their declarations.
const char *const slotNames[] = {
    readLockout, writeLockout, readComplexity, writeComplexity, readExpiration, writeExpiration};
constexpr int slotCount = 6;

// what an argument's type is told by
#if QT_VERSION_MAJOR >= 6
using MetaTypeOfArgument = QMetaType;
const MetaTypeOfArgument someType(QMetaType::Int);
const MetaTypeOfArgument noType;
#else
using MetaTypeOfArgument = int;
constexpr MetaTypeOfArgument someType = 99;
constexpr MetaTypeOfArgument noType = -1;
#endif

const QStringList lockoutFlags = texts({"magic_root: bool false", "no_reset: bool false", "per_user: bool false"});
const QStringList complexityFlags =
    texts({"enforce_for_root: bool false", "gecoscheck: bool false", "reject_username: bool false"});

const QString tallyProfile = QStringLiteral("/usr/share/pam-configs/tally");
const QString pwqualityProfile = QStringLiteral("/usr/share/pam-configs/pwquality");
const QString lockoutStack = QStringLiteral("/etc/pam.d/common-auth");
const QString complexityStack = QStringLiteral("/etc/pam.d/common-password");
const QString loginDefs = QStringLiteral("/etc/login.defs");

QStringList sorted(QStringList entries)
{
    entries.sort();
    return entries;
}

/// Calls a slot as KAuth does: by its name, through the meta-object. Whatever its task does, the reply is no failure.
QStringList dataOf(QObject *helper, const char *slot, const QVariantMap &args = {})
{
    ActionReply reply;
    reply.setError(-1);
    if (!QMetaObject::invokeMethod(
            helper, slot, Qt::DirectConnection, Q_RETURN_ARG(ActionReply, reply), Q_ARG(QVariantMap, args))) {
        qFatal("no slot %s", slot);
    }
    if (reply.type() != ActionReply::SuccessType || reply.errorCode() != ActionReply::NoError
        || !reply.errorDescription().isEmpty()) {
        return texts({"no success"});
    }
    return typedEntries(reply.data());
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
    void declaresSlotsInOrder();
    void castsByName();
    void runsTheTaskOfTheSlot_data();
    void runsTheTaskOfTheSlot();
    void reportsFailureOfTheTaskOfTheSlot_data();
    void reportsFailureOfTheTaskOfTheSlot();
    void ignoresArgumentsOfReads();
    void succeedsAfterFailure();
    void keepsAllButErrorAmongArgumentsOfSuccess();
    void leavesNoTraceOfOneActionInTheNext();
    void freesItsOwnArgumentsAlone();
    void invokesByIndex();
    void tellsHowFarIdsAreBelowTheEnd();
    void leavesIdsOfItsBaseAsTheBaseReturnsThem();
    void invokesNothingBeyondItsSlots();

private:
    AccountPoliciesHelper m_helper;
};

void AccountPoliciesHelperTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    writeProgram(QStringLiteral("/usr/sbin/pam-auth-update"), "#!/bin/sh\nexit 0\n");
}

void AccountPoliciesHelperTest::init()
{
    writeContent(lockoutStack, "auth required pam_tally.so deny=3\n");
    writeContent(complexityStack, "password requisite pam_pwquality.so minlen=9\n");
    writeContent(loginDefs, "PASS_MAX_DAYS 5\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "EXPIRE=1970-01-02\n");
    writeContent(tallyProfile, "required pam_tally.so\n");
    writeContent(pwqualityProfile, "requisite pam_pwquality.so\n");
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

void AccountPoliciesHelperTest::declaresSlotsInOrder()
{
    const QMetaObject *meta = m_helper.metaObject();
    for (int i = 0; i < slotCount; ++i) {
        const QMetaMethod method = meta->method(meta->methodOffset() + i);

        QCOMPARE(method.methodSignature(), slotNames[i] + QByteArray("(QVariantMap)"));
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.access(), QMetaMethod::Public);
        QCOMPARE(QByteArray(method.typeName()), QByteArray("ActionReply"));
        QCOMPARE(method.parameterNames(), QList<QByteArray>{"args"});
        QCOMPARE(method.parameterTypes(), QList<QByteArray>{"QVariantMap"});
    }
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
    const Rows<QVariantMap, QStringList, RowText, QByteArray> row("args", "entries", "file", "content");
    // clang-format off
    row(readLockout, {}, texts({"deny: int 3"}) + lockoutFlags,
        tallyProfile, "required pam_tally.so\n");
    row(writeLockout, {{QStringLiteral("deny"), 4}}, texts({"deny: int 4"}),
        tallyProfile, "required pam_tally.so deny=4\n");
    row(readComplexity, {}, texts({"minlen: int 9"}) + complexityFlags,
        pwqualityProfile, "requisite pam_pwquality.so\n");
    row(writeComplexity, {{QStringLiteral("minlen"), qlonglong(8)}}, texts({"minlen: qlonglong 8"}),
        pwqualityProfile, "requisite pam_pwquality.so minlen=8\n");
    row(readExpiration, {}, texts({"expireDate: qlonglong 1", "maxInterval: int 5"}),
        loginDefs, "PASS_MAX_DAYS 5\n");
    // a name makes no account's of it
    row(writeExpiration, {{QStringLiteral("maxInterval"), 6}, {QStringLiteral("name"), QStringLiteral("root")}},
        texts({"maxInterval: int 6", "name: QString root"}),
        loginDefs, "PASS_MAX_DAYS 6\n");
    // clang-format on
}

void AccountPoliciesHelperTest::runsTheTaskOfTheSlot()
{
    QFETCH(QVariantMap, args);
    QFETCH(QStringList, entries);
    QFETCH(QString, file);

    QCOMPARE(dataOf(&m_helper, QTest::currentDataTag(), args), sorted(entries));

    QTEST(contentOf(file), "content");
}

void AccountPoliciesHelperTest::reportsFailureOfTheTaskOfTheSlot_data()
{
    const Rows<QStringList, RowText, RowText> row("values", "description", "message");
    // clang-format off
    row(readLockout, lockoutFlags,
        "Read default lockout account policy", "\"/etc/pam.d/common-auth\" not exists");
    row(writeLockout, texts({"x: int 1"}),
        "Update default lockout account policy", "\"/usr/share/pam-configs/tally\" not exists");
    row(readComplexity, complexityFlags,
        "Read default password complexity policy", "\"/etc/pam.d/common-password\" not exists");
    row(writeComplexity, texts({"x: int 1"}), "Update default password complexity policy",
        "Both profiles of supported PAM modules do not exist "
        "(/usr/share/pam-configs/cracklib, /usr/share/pam-configs/pwquality)");
    row(readExpiration, {}, "Read default password expiration policy", "\"/etc/login.defs\" not exists");
    row(writeExpiration, texts({"x: int 1"}),
        "Update default password expiration policy", "\"/etc/login.defs\" not exists");
    // clang-format on
}

void AccountPoliciesHelperTest::reportsFailureOfTheTaskOfTheSlot()
{
    QFETCH(QStringList, values);
    QFETCH(QString, description);
    QFETCH(QString, message);
    for (const QString &file : {lockoutStack, complexityStack, loginDefs, tallyProfile, pwqualityProfile}) {
        QVERIFY(QFile::remove(file));
    }
    // what the caller calls an error or a message gives way
    const QVariantMap args{
        {QStringLiteral("x"), 1}, {QStringLiteral("error"), QStringLiteral("mine")}, {QStringLiteral("message"), 1}};

    values += QStringLiteral("error: bool true");
    values += QLatin1String("description: QString ") + description;
    values += QLatin1String("message: QString ") + message;
    QCOMPARE(dataOf(&m_helper, QTest::currentDataTag(), args), sorted(values));
}

void AccountPoliciesHelperTest::ignoresArgumentsOfReads()
{
    const QVariantMap args{{QStringLiteral("deny"), 99},
                           {QStringLiteral("x"), 1},
                           {QStringLiteral("maxInterval"), 1},
                           {QStringLiteral("name"), QStringLiteral("root")}};

    for (const char *read : {readLockout, readComplexity, readExpiration}) {
        QCOMPARE(dataOf(&m_helper, read, args), dataOf(&m_helper, read));
    }
}

void AccountPoliciesHelperTest::succeedsAfterFailure()
{
    QVERIFY(QFile::remove(tallyProfile));
    QVERIFY(
        dataOf(&m_helper, writeLockout, {{QStringLiteral("deny"), 4}}).contains(QStringLiteral("error: bool true")));
    writeContent(tallyProfile, "required pam_tally.so\n");

    QCOMPARE(dataOf(&m_helper, writeLockout, {{QStringLiteral("lock_time"), 3}}), texts({"lock_time: int 3"}));
    QCOMPARE(contentOf(tallyProfile), QByteArray("required pam_tally.so lock_time=3\n"));
}

void AccountPoliciesHelperTest::keepsAllButErrorAmongArgumentsOfSuccess()
{
    const QVariantMap args{{QStringLiteral("error"), 5},
                           {QStringLiteral("description"), QStringLiteral("mine")},
                           {QStringLiteral("message"), 7}};

    // the last one's notice is told to nobody
    for (const char *write : {writeLockout, writeComplexity, writeExpiration}) {
        QCOMPARE(dataOf(&m_helper, write, args), texts({"description: QString mine", "message: int 7"}));
    }
}

void AccountPoliciesHelperTest::leavesNoTraceOfOneActionInTheNext()
{
    QVERIFY(dataOf(&m_helper, readLockout).contains(QStringLiteral("deny: int 3")));
    writeContent(lockoutStack, "auth required pam_tally.so per_user\n");

    QCOMPARE(dataOf(&m_helper, readLockout),
             texts({"magic_root: bool false", "no_reset: bool false", "per_user: bool true"}));
    QVERIFY(m_helper.children().isEmpty());
    QVERIFY(m_helper.dynamicPropertyNames().isEmpty());
}

void AccountPoliciesHelperTest::freesItsOwnArgumentsAlone()
{
    for (const char *slot : slotNames) {
        std::weak_ptr<int> life;
        {
            const std::unique_ptr<QVariantMap> args(newWatchedMap(&life));
            args->insert(QStringLiteral("error"), true);
            dataOf(&m_helper, slot, *args);
            QCOMPARE(args->keys(), texts({"error", "watched"}));
            QVERIFY(!life.expired());
        }
        QVERIFY(life.expired());
    }
}

void AccountPoliciesHelperTest::invokesByIndex()
{
    ActionReply reply;
    QVariantMap args{{QStringLiteral("deny"), 8}};
    void *arguments[] = {&reply, &args};
    QVERIFY(metacall(&m_helper, QMetaObject::InvokeMetaMethod, 1, arguments) < 0);
    QCOMPARE(typedEntries(reply.data()), texts({"deny: int 8"}));
    QCOMPARE(contentOf(tallyProfile), QByteArray("required pam_tally.so deny=8\n"));

    // without a place for the reply
    args.insert(QStringLiteral("deny"), 7);
    arguments[0] = nullptr;
    metacall(&m_helper, QMetaObject::InvokeMetaMethod, 1, arguments);
    QCOMPARE(contentOf(tallyProfile), QByteArray("required pam_tally.so deny=7\n"));
}

void AccountPoliciesHelperTest::tellsHowFarIdsAreBelowTheEnd()
{
    for (int id = 0; id < slotCount; ++id) {
        ActionReply reply;
        QVariantMap args;
        void *invocation[] = {&reply, &args};
        MetaTypeOfArgument type = someType;
        int argument = 0;
        void *request[] = {&type, &argument};

        QCOMPARE(metacall(&m_helper, QMetaObject::InvokeMetaMethod, id, invocation), id - slotCount);
        QCOMPARE(metacall(&m_helper, QMetaObject::RegisterMethodArgumentMetaType, id, request), id - slotCount);
        // it knows no types of arguments
        QCOMPARE(type, noType);
    }
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

void AccountPoliciesHelperTest::invokesNothingBeyondItsSlots()
{
    ActionReply reply;
    QVariantMap args{{QStringLiteral("deny"), 1}};
    void *arguments[] = {&reply, &args};
    const auto files = [] {
        return contentOf(tallyProfile) + contentOf(pwqualityProfile) + contentOf(loginDefs);
    };
    const QByteArray before = files();
    for (const auto call : {QMetaObject::InvokeMetaMethod, QMetaObject::RegisterMethodArgumentMetaType}) {
        for (const int id : {6, 40}) {
            QCOMPARE(metacall(&m_helper, call, id, arguments), id - slotCount);
            QCOMPARE(m_helper.qt_metacall(call, -1, arguments), -1);
            AccountPoliciesHelper::staticMetaObject.d.static_metacall(&m_helper, call, id, arguments);
            QCOMPARE(files(), before);
            QCOMPARE(typedEntries(reply.data()), QStringList());
        }
    }
}

QTEST_GUILESS_MAIN(AccountPoliciesHelperTest)
#include "AccountPoliciesHelperTest.moc"
