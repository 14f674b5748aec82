// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The files of PAM's modules and the stacks that call them, with any content.

#include "policies/modules/ModuleFile.h"
#include "policies/modules/PamStack.h"
#include "tests/fuzz/Fuzzing.h"

namespace
{
/// Values that may be written, some of all.
QVariantMap takeValues(const ModulePolicy &policy, FuzzInput *input)
{
    QVariantMap values;
    for (const ModuleSetting &setting : policy.settings) {
        const uint8_t choice = input->takeByte();
        const bool isNumber =
            setting.kind == ModuleSetting::Kind::Number || setting.kind == ModuleSetting::Kind::Seconds;
        const bool isText = setting.kind == ModuleSetting::Kind::Text || setting.kind == ModuleSetting::Kind::Path;
        if (choice & 1) {
            values.insert(setting.name,
                          isNumber     ? QVariant(qBound(setting.minimum, qlonglong(choice), setting.maximum))
                              : isText ? QVariant(QLatin1Char('/') + QString::number(choice))
                                       : QVariant(bool(choice & 2)));
        }
    }
    require(policy.faultIn(values).isEmpty(), "the values may be written");
    return values;
}

QByteArrayList foreignLines(const ModulePolicy &policy, const QByteArray &content)
{
    QByteArrayList lines;
    for (const QByteArray &line : content.split('\n')) {
        bool isOurs = line.isEmpty();
        for (const ModuleSetting &setting : policy.settings) {
            isOurs = isOurs || line.toLower().contains(setting.name.toLatin1());
        }
        if (!isOurs) {
            lines += line;
        }
    }
    return lines;
}

/// Whether all of the lines are there, in their order; between them may be others.
bool hasInOrder(const QByteArray &content, const QByteArrayList &lines)
{
    auto next = lines.begin();
    for (const QByteArray &line : content.split('\n')) {
        next += next != lines.end() && line == *next ? 1 : 0;
    }
    return next == lines.end();
}

void tryFile(const ModulePolicy &policy, const QVariantMap &values, const QByteArray &content)
{
    QString error;
    moduleFileValues(policy, content, &error);
    const QByteArray written = moduleFileWith(policy, content, values);
    require(moduleFileWith(policy, written, values) == written, "writing again changes nothing", written);
    require(hasInOrder(written, foreignLines(policy, content)), "other lines stay", written);
    // the library reads nothing behind a line that it doesn't understand
    if (!policy.readContent) {
        require(
            moduleFileValues(policy, written, &error) == setValues(policy, values), "what is written is read", written);
    }
}

void tryStack(const QByteArray &content)
{
    for (const PamStackLine &line : pamStackLines(content)) {
        require(line.number >= 1 && line.number <= content.count('\n') + 1, "a line is one of the stack's", content);
        const QStringList options{QStringLiteral("remember=5")};
        if (line.calls(QStringLiteral("pam_pwhistory"))) {
            pamStackWithOptions(content, line.number, QStringLiteral("pam_pwhistory"), options);
        }
    }
}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const QVector<const ModulePolicy *> policies = modulePolicies();
    const ModulePolicy &policy = *policies.at(input.takeByte() % policies.size());
    const QVariantMap values = takeValues(policy, &input);
    const QByteArray content = input.rest();

    tryFile(policy, values, content);
    tryStack(content);
    return 0;
}
