// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"

#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SpacingTranslator.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"

#include <QDate>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <limits>

namespace
{
const QString passwdFile = QStringLiteral("/etc/passwd");
const QString shadowFile = QStringLiteral("/etc/shadow");
const QString tools = QStringLiteral("/run/tmp/tools");
const QString recorded = QStringLiteral("/run/tmp/recorded");
/// The command without the account's name, as the messages tell it, where no setting is given.
const QString unsetAll = QStringLiteral("chage --maxdays -1 --mindays -1 --warndays -1 --inactive -1 --expiredate -1 ");

const QString exitMessage = QStringLiteral("Process: \"%1\". Exit code: %2.\n\"%3\"");

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

QVariantMap named(const QVariant &name)
{
    return {{key("name"), name}};
}

QVariantMap john()
{
    return named(QStringLiteral("john"));
}

QVariantMap johnWith(const char *name, const QVariant &value)
{
    QVariantMap values = john();
    values.insert(key(name), value);
    return values;
}

QVariantMap allArguments()
{
    return {{key("name"), QStringLiteral("john")},
            {key("maxInterval"), 90},
            {key("minInterval"), 1},
            {key("warningInterval"), 14},
            {key("inactiveInterval"), 30},
            {key("expireDate"), 29220}};
}

QStringList outcomeOf(const QVariantMap &arguments)
{
    LocalUserPolicyPasswordExpirationUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList success(const QVariantMap &arguments)
{
    return expectedOutcome(TaskState::Succeeded, QString(), arguments);
}

QStringList failure(const QVariantMap &arguments, const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, arguments);
}

/// The account's fields in the shadow database behind the day of the last password change.
QByteArray shadowOf(const QByteArray &name)
{
    return linesWith(name + ':', "/etc/shadow").value(0).split(':').mid(3).join(':');
}

/// Another chage, first in the search path until this object ends.
class FakeChage
{
public:
    /// @param script for sh(1), unless it names another interpreter
    explicit FakeChage(const QByteArray &script) : m_path("PATH", QFile::encodeName(tools) + ':' + qgetenv("PATH"))
    {
        writeProgram(tools + QStringLiteral("/chage"), (script.startsWith("#!") ? "" : "#!/bin/sh\n") + script + '\n');
        QFile::remove(recorded);
    }

private:
    ScopedVariable m_path;
};

/// Notes each of its arguments with a NUL byte behind, and a line end behind all.
constexpr char recordArguments[] = "printf '%s\\0' \"$@\" >>/run/tmp/recorded; echo >>/run/tmp/recorded";

/// What is noted of the settings, separated by blanks: maximum, minimum, warning, inactivity, expiry.
QByteArray recordOf(const QByteArray &settings, const QByteArray &name = "john")
{
    QByteArrayList arguments;
    QByteArrayList values = settings.split(' ');
    for (const char *option : {"--maxdays", "--mindays", "--warndays", "--inactive", "--expiredate"}) {
        arguments << option << values.takeFirst();
    }
    return (arguments << name << "\n").join('\0');
}
}

class LocalUserPolicyPasswordExpirationUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void setsAccount_data();
    void setsAccount();
    void changesNoOtherAccount();
    void setsWhatIsReadBack();
    void failsWhereChageRefuses_data();
    void failsWhereChageRefuses();
    void tellsOfEmptyName_data();
    void tellsOfEmptyName();
    void passesArguments_data();
    void passesArguments();
    void runsChageOnceToItsEndWithoutInput();
    void failsWithoutChage();
    void failsWhereChageHangs();
    void tellsWhatFailed_data();
    void tellsWhatFailed();
    void keepsPlaceholdersOfName();

private:
    QByteArray m_passwd;
    QByteArray m_shadow;
};

void LocalUserPolicyPasswordExpirationUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    for (const char *command : {"useradd --no-create-home", "chage -m5 -M6 -W7 -I8 -E9"}) {
        for (const char *name : {" john", " jane"}) {
            const ProgramResult result = runAs(root, (QByteArray(command) + name).constData());
            QVERIFY2(result.exitCode == 0, result.standardError.constData());
        }
    }
    m_passwd = contentOf(passwdFile);
    m_shadow = contentOf(shadowFile);
    QCOMPARE(shadowOf("john"), QByteArray("5:6:7:8:9:"));
    QCOMPARE(shadowOf("jane"), QByteArray("5:6:7:8:9:"));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::init()
{
    writeContent(passwdFile, m_passwd);
    writeContent(shadowFile, m_shadow);
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::setsAccount_data()
{
    const Rows<QVariantMap, QByteArray> row("arguments", "shadow");
    // minimum, maximum, warning, inactivity, expiry, reserved
    row("all", allArguments(), "1:90:14:30:29220:");
    row("none", john(), ":::::");
    row("maximum", johnWith("maxInterval", 90), ":90::::");
    row("minimum", johnWith("minInterval", 90), "90:::::");
    row("warning", johnWith("warningInterval", 90), "::90:::");
    row("inactivity", johnWith("inactiveInterval", 90), ":::90::");
    row("expiry", johnWith("expireDate", 90), "::::90:");
    row("day zero", johnWith("expireDate", 0), "::::0:");
    row("minus one", johnWith("expireDate", -1), ":::::");
    row("more than 32 bits", johnWith("expireDate", 3000000000LL), "::::3000000000:");
    row("text with a number", johnWith("expireDate", QStringLiteral("29220")), "::::29220:");
    row("date with dashes", johnWith("expireDate", QStringLiteral("2050-01-01")), "::::0:");
    row("text without a number", johnWith("maxInterval", QStringLiteral("never")), ":0::::");
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::setsAccount()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, shadow);

    QCOMPARE(outcomeOf(arguments), success(arguments));

    QCOMPARE(shadowOf("john"), shadow);
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::changesNoOtherAccount()
{
    QCOMPARE(outcomeOf(allArguments()), success(allArguments()));

    QCOMPARE(contentOf(passwdFile), m_passwd);
    QByteArray expected = m_shadow;
    const auto entry = expected.indexOf("\njohn:");
    expected.replace(expected.indexOf(":5:6:7:8:9:", entry), 11, ":1:90:14:30:29220:");
    QCOMPARE(contentOf(shadowFile), expected);
    QCOMPARE(shadowOf("jane"), QByteArray("5:6:7:8:9:"));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::setsWhatIsReadBack()
{
    outcomeOf(allArguments());
    LocalUserPolicyPasswordExpirationReadTask read(nullptr);
    read.values()->insert(key("name"), QStringLiteral("john"));
    read.run();
    QCOMPARE(typedEntries(*read.values()),
             texts({"expireDate: qlonglong 29220",
                    "inactiveInterval: qlonglong 30",
                    "maxInterval: qlonglong 90",
                    "minInterval: qlonglong 1",
                    "name: QString john",
                    "warningInterval: qlonglong 14"}));

    QVariantMap copied = *read.values();
    copied.insert(key("name"), QStringLiteral("jane"));
    QCOMPARE(outcomeOf(copied), success(copied));
    QCOMPARE(shadowOf("jane"), shadowOf("john"));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::failsWhereChageRefuses_data()
{
    const Rows<QVariantMap, QString, int> row("arguments", "command", "code");
    row("no such account", named(QStringLiteral("jack")), unsetAll + QStringLiteral("jack"), 1);
    row("option for a name", named(QStringLiteral("--nonsense")), unsetAll + QStringLiteral("--nonsense"), 2);
    row("negative number",
        johnWith("minInterval", -7),
        QString(unsetAll).replace(QLatin1String("--mindays -1"), QLatin1String("--mindays -7"))
            + QStringLiteral("john"),
        2);
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::failsWhereChageRefuses()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QString, command);
    QFETCH(int, code);
    // by its full path, which some of its messages name
    const ProgramResult refusal = runAs(root, ("/usr/bin/" + command.toLatin1()).constData());
    QCOMPARE(refusal.exitCode, code);
    QVERIFY(!refusal.standardError.isEmpty());

    const QString message = QString::fromLocal8Bit(refusal.standardError);
    QCOMPARE(outcomeOf(arguments), failure(arguments, exitMessage.arg(command, QString::number(code), message)));

    QCOMPARE(contentOf(shadowFile), m_shadow);
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::tellsOfEmptyName_data()
{
    const Rows<QVariantMap> row("arguments");
    row("no arguments", {});
    row("empty name", named(QString()));
    row("name that is no text", named(QVariantMap()));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::tellsOfEmptyName()
{
    QFETCH(QVariantMap, arguments);
    const QString message = QStringLiteral("chage: user '' does not exist in /etc/passwd\n");
    QCOMPARE(outcomeOf(arguments), failure(arguments, exitMessage.arg(unsetAll, QStringLiteral("1"), message)));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::passesArguments_data()
{
    const Rows<QVariantMap, QByteArray> row("arguments", "record");
    const auto numbers = [&row](const QVariant &value, const QByteArray &number) {
        QVariantMap arguments = john();
        for (const char *name : {"maxInterval", "minInterval", "warningInterval", "inactiveInterval", "expireDate"}) {
            arguments.insert(key(name), value);
        }
        row(value.typeName() ? value.typeName() : "nothing", arguments, recordOf((number + ' ').repeated(5)));
    };
    const auto name = [&row](const QVariantMap &arguments, const QByteArray &passed) {
        row(passed.constData(), arguments, recordOf("-1 -1 -1 -1 -1", passed));
    };
    const auto setting = [&row](const char *option, const QByteArray &settings) {
        row(option, johnWith(option, 5), recordOf(settings));
    };
    row("all", allArguments(), recordOf("90 1 14 30 29220"));
    setting("maxInterval", "5 -1 -1 -1 -1");
    setting("minInterval", "-1 5 -1 -1 -1");
    setting("warningInterval", "-1 -1 5 -1 -1");
    setting("inactiveInterval", "-1 -1 -1 5 -1");
    setting("expireDate", "-1 -1 -1 -1 5");
    setting("maxDays", "-1 -1 -1 -1 -1");
    numbers(0, "0");
    numbers(-12, "-12");
    numbers(std::numeric_limits<qlonglong>::max(), "9223372036854775807");
    numbers(std::numeric_limits<qlonglong>::min(), "-9223372036854775808");
    numbers(4294967295U, "4294967295");
    numbers(true, "1");
    numbers(2.5, "3");
    numbers(QStringLiteral("365"), "365");
    numbers(QStringLiteral("-3"), "-3");
    numbers(QByteArray("365"), "365");
    numbers(QStringLiteral("2.5"), "0");
    numbers(QStringLiteral("0x10"), "0");
    numbers(QStringLiteral("9223372036854775808"), "0");
    numbers(QStringLiteral("2050-01-01"), "0");
    numbers(QDate(2050, 1, 1), "0");
    numbers(QString(), "0");
    numbers(QStringList{QStringLiteral("8")}, "0");
    numbers(QVariant(), "0");
    name(john(), "john");
    name(named(QStringLiteral(" john 'x' \"y\" ")), " john 'x' \"y\" ");
    name(named(QStringLiteral("$(id);`id`|*\n")), "$(id);`id`|*\n");
    name(named(QStringLiteral("--root=/")), "--root=/");
    name(named(QStringLiteral("j\u00fcrgen")), "j\xc3\xbcrgen");
    name(named(4711), "4711");
    name(named(QStringLiteral("%1")), "%1");
    name(named(QString()), "");
    name({}, "");
    name({{key("Name"), QStringLiteral("john")}}, "");
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::passesArguments()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, record);
    const FakeChage fake(recordArguments);

    QCOMPARE(outcomeOf(arguments), success(arguments));

    QCOMPARE(contentOf(recorded), record);
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::runsChageOnceToItsEndWithoutInput()
{
    // with more output than a pipe holds
    const FakeChage fake("sleep 1; head -c 1000000 /dev/zero; echo 'a warning' >&2\n"
                         "echo \"input '$(timeout 0.2 cat)'\" >>/run/tmp/recorded");

    QCOMPARE(outcomeOf(john()), success(john()));

    QCOMPARE(contentOf(recorded), QByteArray("input ''\n"));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::failsWithoutChage()
{
    const ScopedVariable searchPath("PATH", "/nowhere");

    QCOMPARE(outcomeOf(john()),
             failure(john(), QStringLiteral("Process: \"%1john\". Error: 0.\n\"Not started\"").arg(unsetAll)));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::failsWhereChageHangs()
{
    const FakeChage fake("echo $$ >/run/tmp/recorded; exec sleep 300");
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(outcomeOf(john()),
             failure(john(), QStringLiteral("Process: \"%1john\". Error: 2.\n\"Not finished\"").arg(unsetAll)));

    QVERIFY2(timer.elapsed() >= 29000 && timer.elapsed() < 45000, QByteArray::number(timer.elapsed()).constData());
    const QByteArray id = contentOf(recorded).trimmed();
    QVERIFY(id.toInt() > 0);
    QVERIFY(!QFile::exists(QStringLiteral("/proc/") + QString::fromLatin1(id)));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::tellsWhatFailed_data()
{
    // the message behind the command
    const Rows<QByteArray, QString> anyRow("script", "message");
    const auto row = [&anyRow](const char *name, const QByteArray &script, int code, const RowText &standardError) {
        anyRow(name, script, QStringLiteral("Exit code: %1.\n\"%2\"").arg(QString::number(code), standardError));
    };
    const QString crash = QStringLiteral("Error: 1.\n\"Not finished\"");
    anyRow("without its interpreter", "#!/no/such/interpreter", QStringLiteral("Error: 0.\n\"Not started\""));
    anyRow("fault", "echo text >&2; kill -SEGV $$", crash);
    anyRow("another's signal", "kill -TERM $$", crash);
    row("none", "exit 3", 3, "");
    row("line", "echo text >&2; exit 1", 1, "text\n");
    row("blanks around it", "printf ' \\n\\t text \\n\\n' >&2; exit 1", 1, " \n\t text \n\n");
    row("blanks only", "printf ' \\n ' >&2; exit 1", 1, " \n ");
    row("several lines", "printf 'a\\r\\nb\\n' >&2; exit 1", 1, "a\r\nb\n");
    row("NUL byte", "printf 'a\\0b\\0c' >&2; exit 1", 1, "a");
    row("NUL byte behind blanks", "printf ' a \\0b' >&2; exit 1", 1, " a ");
    row("NUL byte first", "printf '\\0text' >&2; exit 1", 1, "");
    row("NUL byte last", "printf 'text\\0' >&2; exit 1", 1, "text");
    row("placeholders", "printf '%%1 %%2 %%3 %%4' >&2; exit 1", 1, "%1 %2 %3 %4");
    row("quotes", "printf '\"' >&2; exit 1", 1, "\"");
    row("beyond ASCII", "printf 'gr\\303\\274n' >&2; exit 1", 1, "gr\xc3\xbcn");
    row("no text", "printf 'a\\377b' >&2; exit 1", 1, "a\ufffdb");
    row("character cut by a NUL byte", "printf 'a\\303\\0b' >&2; exit 1", 1, "a\xef\xbf\xbd");
    row("standard output", "echo other; echo text >&2; exit 1", 1, "text\n");
    row("largest code", "echo text >&2; exit 255", 255, "text\n");
    row("long", "head -c 200000 /dev/zero | tr '\\0' x >&2; exit 1", 1, QString(200000, QLatin1Char('x')));
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::tellsWhatFailed()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const FakeChage fake(script);
    const bool exited = message.startsWith(QLatin1String("Exit"));
    const QString whole = QStringLiteral("Process: \"%1john\". ").arg(unsetAll) + message;
    QCOMPARE(outcomeOf(john()), failure(john(), whole));

    const SpacingTranslator translator;
    // the message with the exit code alone is trimmed, as a whole
    const QString translated = exited ? whole : QLatin1String("\n\t ") + whole + QLatin1String(" \t\n");
    QCOMPARE(outcomeOf(john()), failure(john(), translated));
    const QByteArray source = exited
        ? "Process: \"%1 %2\". Exit code: %3.\n\"%4\""
        : "Process: \"%1 %2\". Error: %3.\n" + message.section(QLatin1Char('\n'), 1).toLatin1();
    // Qt looks up the process's own texts too
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>{"LocalUserPolicyPasswordExpirationUpdateTask"});
}

void LocalUserPolicyPasswordExpirationUpdateTaskTest::keepsPlaceholdersOfName()
{
    const FakeChage fake("echo '%1%2' >&2; exit 1");
    const QVariantMap arguments = named(QStringLiteral("%1 %3 %4"));

    QCOMPARE(outcomeOf(arguments),
             failure(arguments,
                     QLatin1String("Process: \"") + unsetAll + QLatin1String("%1 %3 %4\". Exit code: 1.\n\"%1%2\n\"")));
}

QTEST_GUILESS_MAIN(LocalUserPolicyPasswordExpirationUpdateTaskTest)
#include "LocalUserPolicyPasswordExpirationUpdateTaskTest.moc"
