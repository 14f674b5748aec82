// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the client reads: documents, assignments, and the words behind which a shell completes.

#include "client/commands/CommandLine.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"
#include "tests/fuzz/Fuzzing.h"

#include <QStringList>

namespace
{
void checkDocument(const QByteArray &text)
{
    QMap<QString, Wishes> policies;
    if (!readDocument(text, &policies).isEmpty()) {
        return;
    }
    QMap<QString, Settings> settings;
    for (auto it = policies.cbegin(); it != policies.cend(); ++it) {
        settings.insert(it.key(), fulfilled(findPolicy(it.key())->schema, {}, it.value()));
    }
    const QByteArray written = writeDocument(settings);
    QMap<QString, Wishes> again;
    require(readDocument(written, &again).isEmpty(), "what is written is read", written);
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        require(fulfilled(findPolicy(it.key())->schema, {}, again.value(it.key())) == it.value(),
                "what is read is what was written",
                written);
    }
}

void checkAssignments(const SettingSchema &schema, const QStringList &words)
{
    Wishes wishes;
    if (!parseAssignments(schema, QStringLiteral("it"), words, &wishes).isEmpty()) {
        return;
    }
    const Settings settings = fulfilled(schema, {}, wishes);
    QStringList typed;
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        typed += it.key() + QLatin1Char('=') + settingText(*schema.find(it.key()), it.value());
    }
    Wishes again;
    require(parseAssignments(schema, QStringLiteral("it"), typed, &again).isEmpty(), "what is shown can be typed");
    require(fulfilled(schema, {}, again) == settings, "and means the same");
}
}

// Qt 5.15's parser of JSON loses an object whose key comes twice, so that leaks say nothing about the client. An option
// of libFuzzer doesn't do: it leaves the check at the end on.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the sanitizer's own name
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const uint8_t kind = input.takeByte();
    const QByteArray text = input.rest();
    if (kind & 1) {
        checkDocument(text);
        return 0;
    }
    const QStringList words = QString::fromUtf8(text).split(QLatin1Char(' '));
    for (const Policy &policy : allPolicies()) {
        checkAssignments(policy.schema, words);
    }
    checkAssignments(accountSchema(), words);
    const QStringList completing{QStringLiteral("accountpolicyctl"), QStringLiteral("complete")};
    require(runCommandLine(completing + words) == ExitCode::Done, "any words can be completed");
    for (const QChar character : printable(QString::fromUtf8(text))) {
        require(character == QLatin1Char('\n') || character == QLatin1Char('\t')
                    || character.category() != QChar::Other_Control,
                "nothing printed controls a terminal");
    }
    return 0;
}
