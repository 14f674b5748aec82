// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"

#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TextRows.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cerrno>
#include <unistd.h>

namespace
{
/// What strerror() is to say, if not null.
const char *const *errorText = nullptr;

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

/// "john" and his settings: "MIN:MAX:WARNING:INACTIVITY:EXPIRY", any of them empty.
QVariantMap john(const QByteArray &fields = {})
{
    QVariantMap account = named(QStringLiteral("john"));
    QByteArrayList values = fields.split(':');
    for (const char *name : {"minInterval", "maxInterval", "warningInterval", "inactiveInterval", "expireDate"}) {
        const QByteArray value = values.isEmpty() ? QByteArray() : values.takeFirst();
        if (!value.isEmpty()) {
            account.insert(key(name), value.toLongLong());
        }
    }
    return account;
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

/// "john" with these fields in the shadow database.
void addJohn(const QByteArray &fields = "20000:1:2:3:4:5:")
{
    addToPasswd("john", "x");
    addToShadow("john", fields);
}

void run(const char *command)
{
    const ProgramResult result = runAs(root, command);
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

// the linker gives these names to strerror() and to what stands in its place
extern "C" char *__real_strerror(int error); // NOLINT(bugprone-reserved-identifier)
extern "C" char *__wrap_strerror(int error); // NOLINT(bugprone-reserved-identifier)

extern "C" char *__wrap_strerror(int error)
{
    return errorText ? const_cast<char *>(*errorText) : __real_strerror(error);
}

class LocalUserPolicyPasswordExpirationReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void readsAccountMadeByUseradd();
    void readsWhatChageHasSet_data();
    void readsWhatChageHasSet();
    void readsShadowFields_data();
    void readsShadowFields();
    void takesNameAsText_data();
    void takesNameAsText();
    void looksForNameInTheEncodingOfTheLocale();
    void decodesTheSystemsTextForAnError();
    void keepsOtherValues();
    void cachesNothing();
    void failsWithoutAccountOrEntry_data();
    void failsWithoutAccountOrEntry();
    void tellsWhyFilesCannotBeRead_data();
    void tellsWhyFilesCannotBeRead();
    void tellsThatShadowMayNotBeRead();
    void asksTheNameServices_data();
    void asksTheNameServices();
    void asksForEntryOfTheNameThatWasGiven();
    void changesNoFile();

private:
    static void compareFailure(const QVariantMap &values, const QString &message);

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
    run("useradd --no-create-home --inactive 30 --expiredate 2050-01-01 john");

    QCOMPARE(outcomeOf(john()), success(john("1:90:14:30:29220")));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsWhatChageHasSet_data()
{
    addTextRows(R"(
-m11 -M12    => 11:12:3:4:5
-W13 -I14    => 1:2:13:14:5
-E1970-01-01 => 1:2:3:4:0
-E-1 -I-1    => 1:2:3::
)");
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsWhatChageHasSet()
{
    QFETCH(QString, input);
    QFETCH(QString, result);
    addJohn();
    run(("chage " + input.toLatin1() + " john").constData());
    QCOMPARE(outcomeOf(john()), success(john(result.toLatin1())));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsShadowFields_data()
{
    // day of the last change, minimum, maximum, warning, inactivity, expiry, reserved
    const Rows<QByteArray, QByteArray> row("fields", "expected");
    row("all", "20000:1:2:3:4:5:6", "1:2:3:4:5");
    row("none", "::::::", "");
    row("none but the day of the last change", "20000::::::", "");
    row("minimum", ":7:::::", "7::::");
    row("maximum", "::7::::", ":7:::");
    row("warning", ":::7:::", "::7::");
    row("inactivity", "::::7::", ":::7:");
    row("expiry", ":::::7:", "::::7");
    row("zeros", "0:0:0:0:0:0:0", "0:0:0:0:0");
    row("short form", "20000:1:2", "1:2:::");
    row("largest", ":2147483647:2147483646:99999:1:2:", "2147483647:2147483646:99999:1:2");
    // the library takes what an unsigned number of 32 bits can hold, and reads it as signed
    row("negative", ":4294967294:4294967293:4294967292:4294967291:2147483648:", "-2:-3:-4:-5:-2147483648");
    row("minus one", ":4294967295:4294967295:4294967295:4294967295:4294967295:", "");
}

void LocalUserPolicyPasswordExpirationReadTaskTest::readsShadowFields()
{
    QFETCH(QByteArray, fields);
    QFETCH(QByteArray, expected);
    addJohn(fields);
    addToShadow("johnny", "1:91:92:93:94:95:");

    QCOMPARE(outcomeOf(john()), success(john(expected)));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::takesNameAsText_data()
{
    const Rows<QVariant, QByteArray> row("name", "bytes");
    row("text", QStringLiteral("john"), "john");
    row("beyond ASCII", QString::fromUtf8("j\xc3\xbcrgen"), "j\xc3\xbcrgen");
    row("bytes", QByteArray("john"), "john");
    row("number", 4711, "4711");
    row("blanks", QStringLiteral("john doe"), "john doe");
    row("placeholder", QStringLiteral("%1"), "%1");
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

void LocalUserPolicyPasswordExpirationReadTaskTest::decodesTheSystemsTextForAnError()
{
    const ScopedLatin1 locale;
    for (const char *text : {"cass\xe9", static_cast<const char *>(nullptr)}) {
        errorText = &text;
        const QStringList outcome = outcomeOf(john());
        errorText = nullptr;
        QCOMPARE(outcome, failure(noAccount.arg(QString::fromLatin1(text)), john()));
    }
}

void LocalUserPolicyPasswordExpirationReadTaskTest::keepsOtherValues()
{
    addJohn(":1:::::");
    QVariantMap values = john();
    values.insert(key("other"), QStringLiteral("value"));
    values.insert(key("minInterval"), QStringLiteral("replaced"));
    values.insert(key("maxInterval"), QStringLiteral("kept"));
    QVariantMap expected = values;
    expected.insert(key("minInterval"), qlonglong(1));

    QCOMPARE(outcomeOf(values), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::cachesNothing()
{
    addJohn("::1::::");
    QCOMPARE(outcomeOf(john()), success(john(":1:::")));

    writeContent(shadowFile, m_shadow);
    addToShadow("john", "::2::::");
    QCOMPARE(outcomeOf(john()), success(john(":2:::")));

    writeContent(passwdFile, m_passwd);
    QCOMPARE(outcomeOf(john()), failure(noAccount.arg(noError), john()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::compareFailure(const QVariantMap &values, const QString &message)
{
    // what failed before doesn't matter: a look-up that finds nothing leaves no error
    errno = EBUSY;
    QCOMPARE(outcomeOf(values), failure(message, values));

    // a translation that fails itself takes nothing away
    const FailingTranslator translator;
    QCOMPARE(outcomeOf(values), failure(QStringLiteral("[%1]").arg(message), values));
    // behind the description
    const QByteArray source = message == notInShadow ? notInShadow.toLatin1() : "Internal error: %1";
    QCOMPARE(translator.texts().mid(1), QList<TranslatedText>({{taskContext, source}}));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWithoutAccountOrEntry_data()
{
    const Rows<QVariantMap, QByteArray, QByteArray, QString> row("values", "password", "shadow", "message");
    const QByteArray entry("john:!:20000:1:2:3:4:5:");
    const auto unknown = [&](const char *name, const QVariantMap &values) {
        row(name, values, "x", entry + "\nshade:!:20000:1:2:3:4:5:", noAccount.arg(noError));
    };
    const auto withoutEntry = [&row](const char *name, const QByteArray &shadow) {
        row(name, john(), "x", shadow, noEntry.arg(noError));
    };
    unknown("no such name", named(QStringLiteral("jack")));
    unknown("beginning of a name", named(QStringLiteral("joh")));
    unknown("other case", named(QStringLiteral("John")));
    unknown("blank behind the name", named(QStringLiteral("john ")));
    unknown("number of an account", named(4321));
    unknown("in shadow only", named(QStringLiteral("shade")));
    unknown("empty", named(QString()));
    unknown("no name", {});
    unknown("no text", named(QStringList({QStringLiteral("john"), QStringLiteral("x")})));
    unknown("under another key", {{key("Name"), QStringLiteral("john")}});
    withoutEntry("no entry", "");
    withoutEntry("another's entry", "johnny:!:20000:1:2:3:4:5:");
    withoutEntry("entry with a field that is no number", "john:!:20000:1:2:x:4:5:");
    for (const QByteArray password : {"", "!", "*", "!x", "x!", "xx", "X", " x", "x ", "$y$j9T$abc"}) {
        row(("'" + password + "' with shadow entry").constData(), john(), password, entry, notInShadow);
        row(("'" + password + "' without shadow entry").constData(), john(), password, "", notInShadow);
    }
}

void LocalUserPolicyPasswordExpirationReadTaskTest::failsWithoutAccountOrEntry()
{
    QFETCH(QVariantMap, values);
    QFETCH(QByteArray, password);
    QFETCH(QByteArray, shadow);
    QFETCH(QString, message);
    addToPasswd("john", password);
    append(shadowFile, shadow);
    compareFailure(values, message);
}

void LocalUserPolicyPasswordExpirationReadTaskTest::tellsWhyFilesCannotBeRead_data()
{
    const QString missing = QStringLiteral("No such file or directory");
    const QString isFolder = QStringLiteral("Is a directory");
    const Rows<QString, bool, QString> row("path", "folder", "message");
    row("accounts missing", passwdFile, false, noAccount.arg(missing));
    row("accounts a folder", passwdFile, true, noAccount.arg(isFolder));
    row("shadow missing", shadowFile, false, noEntry.arg(missing));
    row("shadow a folder", shadowFile, true, noEntry.arg(isFolder));
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
    compareFailure(john(), message);
}

void LocalUserPolicyPasswordExpirationReadTaskTest::tellsThatShadowMayNotBeRead()
{
    useFilesOnly();
    addJohn();
    QStringList outcome;
    {
        const WithoutRights withoutRights;
        outcome = outcomeOf(john());
    }

    QCOMPARE(outcome, failure(noEntry.arg(QStringLiteral("Permission denied")), john()));
    QCOMPARE(outcomeOf(john()), success(john("1:2:3:4:5")));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksTheNameServices_data()
{
    const Rows<QByteArray, QString> row("configuration", "message");
    // a service that the system doesn't have
    row("accounts elsewhere", "passwd: nosuchservice\nshadow: files\n", noAccount.arg(noError));
    row("shadow elsewhere", "passwd: files\nshadow: nosuchservice\n", noEntry.arg(noError));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksTheNameServices()
{
    QFETCH(QByteArray, configuration);
    QFETCH(QString, message);
    addJohn();
    writeContent(nameServices, configuration);
    errno = 0;
    QCOMPARE(outcomeOf(john()), failure(message, john()));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::asksForEntryOfTheNameThatWasGiven()
{
    // a service that answers for "alias" with the account of "john"
    QVERIFY(QFile::copy(QStringLiteral(ALIAS_SERVICE), QStringLiteral(LIBRARIES "/libnss_alias.so.2")));
    writeContent(nameServices, "passwd: alias files\nshadow: files\n");
    addJohn("::1::::");
    QCOMPARE(outcomeOf(named(key("alias"))), failure(noEntry.arg(noError), named(key("alias"))));

    addToShadow("alias", "::2::::");
    QVariantMap expected = named(key("alias"));
    expected.insert(key("maxInterval"), qlonglong(2));
    QCOMPARE(outcomeOf(named(key("alias"))), success(expected));
}

void LocalUserPolicyPasswordExpirationReadTaskTest::changesNoFile()
{
    addJohn();
    const QByteArray passwd = contentOf(passwdFile);
    const QByteArray shadow = contentOf(shadowFile);
    const QStringList names = QDir(QStringLiteral("/etc")).entryList();

    outcomeOf(john());

    QCOMPARE(contentOf(passwdFile), passwd);
    QCOMPARE(contentOf(shadowFile), shadow);
    QCOMPARE(QDir(QStringLiteral("/etc")).entryList(), names);
}

QTEST_GUILESS_MAIN(LocalUserPolicyPasswordExpirationReadTaskTest)
#include "LocalUserPolicyPasswordExpirationReadTaskTest.moc"
