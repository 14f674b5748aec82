// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"

#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cerrno>
#include <unistd.h>

namespace
{
constexpr char taskContext[] = "LocalUserPolicyPasswordExpirationReadTask";

const QString passwdFile = QStringLiteral("/etc/passwd");
const QString shadowFile = QStringLiteral("/etc/shadow");
const QString nameServices = QStringLiteral("/etc/nsswitch.conf");

const QString noAccount = QStringLiteral("Internal error: getpwnum() == 0\n%1");
const QString noEntry = QStringLiteral("Internal error: getspnam() == 0\n%1");
const QString notInShadow = QStringLiteral("System not use /etc/shadow for this account");
/// The system's text for error 0.
const QString noError = QStringLiteral("Success");

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

QVariantMap named(const QVariant &name)
{
    return {{key("name"), name}};
}

QVariantMap account()
{
    return named(QStringLiteral("john"));
}

/// "john" and the values, given in the order of the fields in the shadow database.
QVariantMap johnWith(qlonglong min, qlonglong max, qlonglong warn, qlonglong inactive, qlonglong expire)
{
    return {{key("name"), QStringLiteral("john")},
            {key("minInterval"), min},
            {key("maxInterval"), max},
            {key("warningInterval"), warn},
            {key("inactiveInterval"), inactive},
            {key("expireDate"), expire}};
}

QVariantMap johnWith(const char *name, qlonglong days)
{
    return {{key("name"), QStringLiteral("john")}, {key(name), days}};
}

void append(const QString &path, const QByteArray &line)
{
    writeContent(path, contentOf(path) + line + '\n');
}

void addToPasswd(const QByteArray &name, const QByteArray &password)
{
    append(passwdFile, name + ':' + password + ":4321:4321::/nonexistent:/bin/sh");
}

/// @param fields from the day of the last password change on
void addToShadow(const QByteArray &name, const QByteArray &fields)
{
    append(shadowFile, name + ":!:" + fields);
}

void run(const QString &program, const QStringList &arguments)
{
    const ProgramResult result = runAs(0, program, arguments);
    QVERIFY2(result.exitCode == 0, result.standardError.constData());
}

/// Leaves no other source of accounts than the files: its errors then are the look-up's.
void useFilesOnly()
{
    writeContent(nameServices, "passwd: files\nshadow: files\n");
}

QStringList outcomeOf(const QVariantMap &values)
{
    LocalUserPolicyPasswordExpirationReadTask task(nullptr);
    *task.values() = values;
    return outcomeOfRun(&task);
}

QStringList success(const QVariantMap &values)
{
    return expectedOutcome(TaskState::Succeeded, QString(), values);
}

QStringList failure(const QString &message, const QVariantMap &values)
{
    return expectedOutcome(TaskState::Failed, message, values);
}

/// Takes root's rights from this process until this object ends.
class WithoutRights
{
public:
    WithoutRights()
    {
        if (seteuid(nobody) != 0) {
            qFatal("cannot give up rights");
        }
    }
    ~WithoutRights()
    {
        if (seteuid(0) != 0) {
            qFatal("cannot take rights back");
        }
    }

private:
    Q_DISABLE_COPY_MOVE(WithoutRights)
};

/// Leaves an error number behind whenever a text is looked up.
class FailingTranslator : public RecordingTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation, int n) const override
    {
        const QString text = RecordingTranslator::translate(context, sourceText, disambiguation, n);
        errno = EDEADLK;
        return text;
    }
};
}

class LocalUserPolicyPasswordExpirationReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void readsAccountMadeByUseradd();
    void readsWhatChageHasSet();
    void readsShadowFields_data();
    void readsShadowFields();
    void takesNameAsText_data();
    void takesNameAsText();
    void looksForNameInTheEncodingOfTheLocale();
    void keepsOtherValues();
    void cachesNothing();
    void failsForUnknownName_data();
    void failsForUnknownName();
    void failsWherePasswordIsNotInShadow_data();
    void failsWherePasswordIsNotInShadow();
    void failsWithoutShadowEntry_data();
    void failsWithoutShadowEntry();
    void tellsWhyFilesCannotBeRead_data();
    void tellsWhyFilesCannotBeRead();
    void tellsThatShadowMayNotBeRead();
    void asksTheNameServices_data();
    void asksTheNameServices();
    void asksForEntryOfTheNameThatWasGiven();
    void translatesFailures_data();
    void translatesFailures();
    void changesNoFile();

private:
    QByteArray m_passwd;
    QByteArray m_shadow;
    QByteArray m_nameServices;
};

void LocalUserPolicyPasswordExpirationReadTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    m_passwd = contentOf(passwdFile);
    m_shadow = contentOf(shadowFile);
    m_nameServices = contentOf(nameServices);
    QVERIFY(!m_passwd.isEmpty() && !m_shadow.isEmpty());
}

void LocalUserPolicyPasswordExpirationReadTaskTest::init()
{
    QDir(passwdFile).removeRecursively();
    QDir(shadowFile).removeRecursively();
    writeContent(passwdFile, m_passwd);
    writeContent(shadowFile, m_shadow);
    QVERIFY(QFile::setPermissions(shadowFile, QFile::ReadOwner | QFile::WriteOwner));
    writeContent(nameServices, m_nameServices);
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsAccountMadeByUseradd()
{
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");
    run(QStringLiteral("useradd"),
        {QStringLiteral("--no-create-home"),
         QStringLiteral("--inactive"),
         QStringLiteral("30"),
         QStringLiteral("--expiredate"),
         QStringLiteral("2050-01-01"),
         QStringLiteral("john")});

    QCOMPARE(outcomeOf(account()), success(johnWith(1, 90, 14, 30, 29220)));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsWhatChageHasSet()
{
    addToPasswd("john", "x");
    addToShadow("john", "20000:1:2:3:4:5:");
    run(QStringLiteral("chage"), {QStringLiteral("-m11"), QStringLiteral("-M12"), QStringLiteral("john")});
    QCOMPARE(outcomeOf(account()), success(johnWith(11, 12, 3, 4, 5)));

    run(QStringLiteral("chage"), {QStringLiteral("-W13"), QStringLiteral("-I14"), QStringLiteral("john")});
    QCOMPARE(outcomeOf(account()), success(johnWith(11, 12, 13, 14, 5)));

    run(QStringLiteral("chage"), {QStringLiteral("-E1970-01-01"), QStringLiteral("john")});
    QCOMPARE(outcomeOf(account()), success(johnWith(11, 12, 13, 14, 0)));

    run(QStringLiteral("chage"), {QStringLiteral("-E-1"), QStringLiteral("-I-1"), QStringLiteral("john")});
    QCOMPARE(outcomeOf(account()),
             success({{key("name"), QStringLiteral("john")},
                      {key("minInterval"), qlonglong(11)},
                      {key("maxInterval"), qlonglong(12)},
                      {key("warningInterval"), qlonglong(13)}}));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsShadowFields_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char *name, const QByteArray &fields, const QVariantMap &expected) {
        QTest::newRow(name) << fields << expected;
    };
    // day of the last change, minimum, maximum, warning, inactivity, expiry, reserved
    row("all", "20000:1:2:3:4:5:6", johnWith(1, 2, 3, 4, 5));
    row("none", "::::::", account());
    row("none but the day of the last change", "20000::::::", account());
    row("minimum", ":7:::::", johnWith("minInterval", 7));
    row("maximum", "::7::::", johnWith("maxInterval", 7));
    row("warning", ":::7:::", johnWith("warningInterval", 7));
    row("inactivity", "::::7::", johnWith("inactiveInterval", 7));
    row("expiry", ":::::7:", johnWith("expireDate", 7));
    row("zeros", "0:0:0:0:0:0:0", johnWith(0, 0, 0, 0, 0));
    row("short form",
        "20000:1:2",
        {{key("name"), QStringLiteral("john")},
         {key("minInterval"), qlonglong(1)},
         {key("maxInterval"), qlonglong(2)}});
    row("largest", ":2147483647:2147483646:99999:1:2:", johnWith(2147483647, 2147483646, 99999, 1, 2));
    // the library takes what an unsigned number of 32 bits can hold, and reads it as signed
    row("negative",
        ":4294967294:4294967293:4294967292:4294967291:2147483648:",
        johnWith(-2, -3, -4, -5, -2147483648LL));
    row("minus one", ":4294967295:4294967295:4294967295:4294967295:4294967295:", account());
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsShadowFields()
{
    QFETCH(QByteArray, fields);
    QFETCH(QVariantMap, expected);
    addToPasswd("john", "x");
    addToShadow("john", fields);
    addToShadow("johnny", "1:91:92:93:94:95:");

    QCOMPARE(outcomeOf(account()), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::takesNameAsText_data()
{
    QTest::addColumn<QVariant>("name");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("text") << QVariant(QStringLiteral("john")) << QByteArray("john");
    QTest::newRow("beyond ASCII") << QVariant(QString::fromUtf8("j\xc3\xbcrgen")) << QByteArray("j\xc3\xbcrgen");
    QTest::newRow("bytes") << QVariant(QByteArray("john")) << QByteArray("john");
    QTest::newRow("number") << QVariant(4711) << QByteArray("4711");
    QTest::newRow("blanks") << QVariant(QStringLiteral("john doe")) << QByteArray("john doe");
    QTest::newRow("placeholder") << QVariant(QStringLiteral("%1")) << QByteArray("%1");
}

void LocalUserPolicyPasswordExpirationReadTaskTest::takesNameAsText()
{
    QFETCH(QVariant, name);
    QFETCH(QByteArray, bytes);
    addToPasswd(bytes, "x");
    addToShadow(bytes, "::7::::");
    QVariantMap expected = named(name);
    expected.insert(key("maxInterval"), qlonglong(7));

    QCOMPARE(outcomeOf(named(name)), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::looksForNameInTheEncodingOfTheLocale()
{
    const ScopedLatin1 locale;
    addToPasswd("j\xfcrgen", "x");
    addToShadow("j\xfcrgen", "::7::::");
    const QVariantMap account = named(QString::fromUtf8("j\xc3\xbcrgen"));
    QVariantMap expected = account;
    expected.insert(key("maxInterval"), qlonglong(7));

    QCOMPARE(outcomeOf(account), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::keepsOtherValues()
{
    addToPasswd("john", "x");
    addToShadow("john", ":1:::::");
    QVariantMap values = account();
    values.insert(key("other"), QStringLiteral("value"));
    values.insert(key("minInterval"), QStringLiteral("replaced"));
    values.insert(key("maxInterval"), QStringLiteral("kept"));
    QVariantMap expected = values;
    expected.insert(key("minInterval"), qlonglong(1));

    QCOMPARE(outcomeOf(values), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::cachesNothing()
{
    addToPasswd("john", "x");
    addToShadow("john", "::1::::");
    QCOMPARE(outcomeOf(account()), success(johnWith("maxInterval", 1)));

    writeContent(shadowFile, m_shadow);
    addToShadow("john", "::2::::");
    QCOMPARE(outcomeOf(account()), success(johnWith("maxInterval", 2)));

    writeContent(passwdFile, m_passwd);
    QCOMPARE(outcomeOf(account()), failure(noAccount.arg(noError), account()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsForUnknownName_data()
{
    QTest::addColumn<QVariantMap>("values");

    QTest::newRow("no such name") << named(QStringLiteral("jack"));
    QTest::newRow("beginning of a name") << named(QStringLiteral("joh"));
    QTest::newRow("other case") << named(QStringLiteral("John"));
    QTest::newRow("blank behind the name") << named(QStringLiteral("john "));
    QTest::newRow("number of an account") << named(4321);
    QTest::newRow("in shadow only") << named(QStringLiteral("shade"));
    QTest::newRow("empty") << named(QString());
    QTest::newRow("no name") << QVariantMap();
    QTest::newRow("no text") << named(QStringList({QStringLiteral("john"), QStringLiteral("x")}));
    QTest::newRow("under another key") << QVariantMap({{key("Name"), QStringLiteral("john")}});
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsForUnknownName()
{
    QFETCH(QVariantMap, values);
    addToPasswd("john", "x");
    addToShadow("john", "20000:1:2:3:4:5:");
    addToShadow("shade", "20000:1:2:3:4:5:");

    // what failed before doesn't matter: a look-up that finds nothing leaves no error
    errno = EBUSY;
    QCOMPARE(outcomeOf(values), failure(QStringLiteral("Internal error: getpwnum() == 0\nSuccess"), values));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWherePasswordIsNotInShadow_data()
{
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<bool>("inShadow");

    for (const char *password : {"", "!", "*", "!x", "x!", "xx", "X", " x", "x ", "$y$j9T$abc"}) {
        QTest::addRow("'%s' with shadow entry", password) << QByteArray(password) << true;
        QTest::addRow("'%s' without shadow entry", password) << QByteArray(password) << false;
    }
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWherePasswordIsNotInShadow()
{
    QFETCH(QByteArray, password);
    QFETCH(bool, inShadow);
    addToPasswd("john", password);
    if (inShadow) {
        addToShadow("john", "20000:1:2:3:4:5:");
    }

    QCOMPARE(outcomeOf(account()), failure(notInShadow, account()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWithoutShadowEntry_data()
{
    QTest::addColumn<QByteArray>("entry");

    QTest::newRow("none") << QByteArray();
    QTest::newRow("another's") << QByteArray("johnny:!:20000:1:2:3:4:5:");
    QTest::newRow("with a field that is no number") << QByteArray("john:!:20000:1:2:x:4:5:");
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWithoutShadowEntry()
{
    QFETCH(QByteArray, entry);
    addToPasswd("john", "x");
    append(shadowFile, entry);

    errno = EBUSY;
    QCOMPARE(outcomeOf(account()), failure(QStringLiteral("Internal error: getspnam() == 0\nSuccess"), account()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::tellsWhyFilesCannotBeRead_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("message");

    const QString missing = QStringLiteral("No such file or directory");
    const QString isFolder = QStringLiteral("Is a directory");
    QTest::newRow("accounts missing") << passwdFile << false << noAccount.arg(missing);
    QTest::newRow("accounts a folder") << passwdFile << true << noAccount.arg(isFolder);
    QTest::newRow("shadow missing") << shadowFile << false << noEntry.arg(missing);
    QTest::newRow("shadow a folder") << shadowFile << true << noEntry.arg(isFolder);
}

void LocalUserPolicyPasswordExpirationReadTaskTest::tellsWhyFilesCannotBeRead()
{
    QFETCH(QString, path);
    QFETCH(bool, folder);
    QFETCH(QString, message);
    useFilesOnly();
    addToPasswd("john", "x");
    QVERIFY(QFile::remove(path));
    QVERIFY(!folder || QDir().mkpath(path));

    QCOMPARE(outcomeOf(account()), failure(message, account()));

    // a translation that fails itself takes nothing away
    const FailingTranslator translator;
    QCOMPARE(outcomeOf(account()), failure(QStringLiteral("[%1]").arg(message), account()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::tellsThatShadowMayNotBeRead()
{
    useFilesOnly();
    addToPasswd("john", "x");
    addToShadow("john", "20000:1:2:3:4:5:");
    QStringList outcome;
    {
        const WithoutRights withoutRights;
        outcome = outcomeOf(account());
    }

    QCOMPARE(outcome, failure(noEntry.arg(QStringLiteral("Permission denied")), account()));
    QCOMPARE(outcomeOf(account()), success(johnWith(1, 2, 3, 4, 5)));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksTheNameServices_data()
{
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<QString>("message");

    // a service that the system doesn't have
    QTest::newRow("accounts elsewhere") << QByteArray("passwd: nosuchservice\nshadow: files\n") << noAccount;
    QTest::newRow("shadow elsewhere") << QByteArray("passwd: files\nshadow: nosuchservice\n") << noEntry;
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksTheNameServices()
{
    QFETCH(QByteArray, configuration);
    QFETCH(QString, message);
    addToPasswd("john", "x");
    addToShadow("john", "20000:1:2:3:4:5:");
    writeContent(nameServices, configuration);

    errno = 0;
    QCOMPARE(outcomeOf(account()), failure(message.arg(noError), account()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksForEntryOfTheNameThatWasGiven()
{
    // a service that answers for "alias" with the account of "john"
    QVERIFY(QFile::copy(QStringLiteral(ALIAS_SERVICE), QStringLiteral(LIBRARIES "/libnss_alias.so.2")));
    writeContent(nameServices, "passwd: alias files\nshadow: files\n");
    addToPasswd("john", "x");
    addToShadow("john", "::1::::");
    QCOMPARE(outcomeOf(named(key("alias"))), failure(noEntry.arg(noError), named(key("alias"))));

    addToShadow("alias", "::2::::");
    QCOMPARE(outcomeOf(named(key("alias"))),
             success({{key("name"), key("alias")}, {key("maxInterval"), qlonglong(2)}}));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::translatesFailures_data()
{
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("source");

    QTest::newRow("no account") << QByteArray("x") << QStringLiteral("jack") << noAccount.arg(noError)
                                << QByteArray("Internal error: %1");
    QTest::newRow("no shadow entry") << QByteArray("x") << QStringLiteral("john") << noEntry.arg(noError)
                                     << QByteArray("Internal error: %1");
    QTest::newRow("password not in shadow")
        << QByteArray("*") << QStringLiteral("john") << notInShadow << notInShadow.toLatin1();
}

void LocalUserPolicyPasswordExpirationReadTaskTest::translatesFailures()
{
    QFETCH(QByteArray, password);
    QFETCH(QString, name);
    QFETCH(QString, message);
    QFETCH(QByteArray, source);
    addToPasswd("john", password);
    LocalUserPolicyPasswordExpirationReadTask task(nullptr);
    *task.values() = named(name);

    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task), failure(QLatin1Char('[') + message + QLatin1Char(']'), named(name)));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, source}}));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::changesNoFile()
{
    addToPasswd("john", "x");
    addToShadow("john", "20000:1:2:3:4:5:");
    const QByteArray passwd = contentOf(passwdFile);
    const QByteArray shadow = contentOf(shadowFile);
    const QStringList names = QDir(QStringLiteral("/etc")).entryList();

    outcomeOf(account());

    QCOMPARE(contentOf(passwdFile), passwd);
    QCOMPARE(contentOf(shadowFile), shadow);
    QCOMPARE(QDir(QStringLiteral("/etc")).entryList(), names);
}

QTEST_GUILESS_MAIN(LocalUserPolicyPasswordExpirationReadTaskTest)
#include "LocalUserPolicyPasswordExpirationReadTaskTest.moc"
