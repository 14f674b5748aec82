// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleRules.h"

#include "policies/modules/ModuleFile.h"

#include <QFile>

#include <algorithm>

namespace
{
void lay(const QVariantMap &values, const QString &source, ModuleRules *rules)
{
    for (auto value = values.begin(); value != values.end(); ++value) {
        rules->values.insert(value.key(), *value);
        rules->sources.insert(value.key(), source);
    }
}

void layFile(const ModulePolicy &policy, ModuleRules *rules)
{
    QFile file(rules->file);
    if (file.open(QIODevice::ReadOnly)) {
        lay(moduleFileValues(policy, file.readAll(), &rules->error), rules->file, rules);
    } else if (file.exists()) {
        rules->error = file.errorString();
    }
    if (!rules->error.isEmpty()) {
        rules->error.prepend(rules->file + QLatin1String(": "));
    }
}
}

QVariant ModuleRules::value(const ModulePolicy &policy, const QString &setting) const
{
    return values.value(setting, policy.find(setting)->byDefault);
}

ModuleRules moduleRules(const ModulePolicy &policy, const ModuleLine &line)
{
    ModuleRules rules;
    if (moduleReadsFile(policy)) {
        rules.file = policy.readContent ? policy.path : configurationPath(line.options, policy.path);
        layFile(policy, &rules);
    }
    lay(moduleOptionValues(policy, line.options), line.path, &rules);
    return rules;
}

const ModuleLine *decidingLine(const ModulePolicy &policy, const ModuleReading &reading)
{
    // lines of the common stacks come first
    for (const auto &isWanted : {refuses, enforces}) {
        const QVector<ModuleLine>::const_iterator line =
            std::find_if(reading.lines.begin(), reading.lines.end(), [&](const ModuleLine &candidate) {
                return isWanted(policy, candidate);
            });
        if (line != reading.lines.end()) {
            return &*line;
        }
    }
    return nullptr;
}

QString configurationPath(const QStringList &options, const QString &byDefault)
{
    const QString name = QStringLiteral("conf=");
    QString path = byDefault;
    for (const QString &option : options) {
        path = option.startsWith(name) ? option.mid(name.size()) : path;
    }
    return path;
}
