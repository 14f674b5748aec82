// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Each task that takes arguments, as a whole, with any arguments. Runs in the sandbox. In place of pam-auth-update(8)
// stands a tool that does nothing: it would take most of the time, and gets no argument of the caller's.

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tasks/ExportHtmlTask.h"
#include "tests/fuzz/Fuzzing.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QFile>

namespace
{
template<typename Task>
bool succeedsWith(const QVariantMap &arguments)
{
    Task task(nullptr, new QVariantMap(arguments));
    task.run();
    require(*task.values() == arguments, "a task leaves its arguments alone");
    const int state = task.result().state();
    require(state > TaskState::NotStarted, "a task ends");
    return state != TaskState::Failed;
}

/// The options of one module line, as what stands behind each name; null where it doesn't stand there.
QVariantMap optionsIn(const PamWords &policy, const QByteArray &line)
{
    QVariantMap options;
    for (const QByteArray &word : line.simplified().split(' ')) {
        const QString name = QString::fromLatin1(word.mid(0, word.indexOf('=')));
        if (policy.options().contains(name)) {
            options.insert(name, word.contains('=') ? word.mid(word.indexOf('=') + 1) : QByteArray("set"));
        }
    }
    return options;
}

QVariantMap optionsAskedFor(const PamWords &policy, const QVariantMap &arguments)
{
    QVariantMap options;
    for (const QString &flag : policy.flags) {
        if (arguments.value(flag).toBool()) {
            options.insert(flag, QByteArray("set"));
        }
    }
    for (const QString &number : policy.numbers) {
        if (arguments.contains(number)) {
            options.insert(number, QByteArray::number(arguments.value(number).toInt()));
        }
    }
    return options;
}

template<typename Task>
void checkPam(const PamWords &policy, const QVariantMap &arguments)
{
    const QByteArray head = "Name: x\nAuth:\n";
    writeContent(policy.profile, head + "\trequired " + policy.module + " onerr=fail minlen=1 deny=2 # why\n");
    writeContent(policy.stack, "auth required " + policy.module + " deny=1 minlen=1\nauth required pam_x.so deny=1\n");

    require(succeedsWith<Task>(arguments), "a file that can be written is written");

    const QByteArray profile = contentOf(policy.profile);
    require(profile.startsWith(head) && profile.endsWith("\t# why\n"), "what isn't options stays", profile);
    require(profile.contains(" onerr=fail"), "unmanaged options stay", profile);
    require(optionsIn(policy, profile.mid(head.size())) == optionsAskedFor(policy, arguments),
            "the profile has what was asked for",
            profile);
    const QByteArray wanted =
        ' ' + policy.corrected.toLatin1() + '=' + QByteArray::number(arguments.value(policy.corrected).toInt());
    const QByteArray stack = contentOf(policy.stack);
    require(stack.left(stack.indexOf('\n')).contains(wanted), "the stack is corrected", stack);
    require(stack.endsWith("\nauth required pam_x.so deny=1\n"), "other lines of the stack stay", stack);
    require(!QFile::exists(policy.profile + QLatin1String(".tmp")), "nothing is left behind");
}

void checkExpiration(const QVariantMap &arguments)
{
    writeContent(QStringLiteral("/etc/login.defs"), "UMASK 022\nPASS_MAX_DAYS 1\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "SHELL=/bin/sh\nINACTIVE=3\n");
    require(succeedsWith<LocalPolicyPasswordExpirationUpdateTask>(arguments), "files that can be written are written");
    require(contentOf(QStringLiteral("/etc/login.defs")).startsWith("UMASK 022\n"), "other settings stay");
    require(contentOf(QStringLiteral("/etc/default/useradd")).startsWith("SHELL=/bin/sh\n"), "other settings stay");

    LocalPolicyPasswordExpirationReadTask reading(nullptr);
    reading.run();
    for (const QString &key : wordsOf("maxInterval minInterval warningInterval")) {
        require(reading.values()->contains(key) == arguments.contains(key), "what was asked for is there");
        require(reading.values()->value(key).toInt() == arguments.value(key).toInt(), "with its value");
    }
}

/// The lines of the other accounts.
QByteArray othersIn(const QByteArray &database, const QByteArray &name)
{
    QByteArray others;
    for (const QByteArray &line : database.split('\n')) {
        others += line.startsWith(name + ':') ? QByteArray() : line + '\n';
    }
    return others;
}

void checkAccount(const QVariantMap &arguments)
{
    const QString database = QStringLiteral("/etc/shadow");
    const QByteArray before = contentOf(database);
    succeedsWith<LocalUserPolicyPasswordExpirationUpdateTask>(arguments);
    const QByteArray name = arguments.value(QStringLiteral("name")).toString().toLocal8Bit();
    require(othersIn(contentOf(database), name) == othersIn(before, name), "other accounts stay");

    LocalUserPolicyPasswordExpirationReadTask reading(nullptr);
    *reading.values() = arguments;
    reading.run();
    require(reading.values()->value(QStringLiteral("name")) == arguments.value(QStringLiteral("name")),
            "the name stays");
}

void checkExport(const QVariantMap &arguments)
{
    QVariantMap withPath = arguments;
    const QString path = QStringLiteral("/run/tmp/page.html");
    withPath.insert(QStringLiteral("filePath"), path);
    ExportHtmlTask task(new QVariantMap(withPath));
    task.run();
    require(contentOf(path) == arguments.value(QStringLiteral("htmlText")).toString().toUtf8(), "the page is the text");
}
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    require(inSandbox(), outsideSandbox);
    const QString tool = QStringLiteral("/usr/sbin/pam-auth-update");
    QFile::remove(tool);
    require(QFile::copy(QStringLiteral("/bin/true"), tool), "the tool can be replaced");
    const QByteArray account = "fuzzed:x:9999:9999::/:/bin/sh\n";
    writeContent(QStringLiteral("/etc/passwd"), contentOf(QStringLiteral("/etc/passwd")) + account);
    writeContent(QStringLiteral("/etc/shadow"), contentOf(QStringLiteral("/etc/shadow")) + "fuzzed:!:1:::::::\n");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    switch (input.takeByte() % 5) {
    case 0:
        checkPam<LocalPolicyLockoutUpdateTask>(lockoutWords, input.takeMap(lockoutWords.options()));
        break;
    case 1:
        checkPam<LocalPolicyPasswordComplexityUpdateTask>(complexityWords, input.takeMap(complexityWords.options()));
        break;
    case 2:
        checkExpiration(input.takeMap(wordsOf("maxInterval minInterval warningInterval inactiveInterval expireDate")));
        break;
    case 3: {
        QVariantMap arguments =
            input.takeMap(wordsOf("name maxInterval minInterval warningInterval inactiveInterval expireDate"));
        if (input.takeByte() & 1) {
            arguments.insert(QStringLiteral("name"), QStringLiteral("fuzzed"));
        }
        checkAccount(arguments);
        break;
    }
    default:
        checkExport(input.takeMap(wordsOf("filePath htmlText")));
    }
    return 0;
}
