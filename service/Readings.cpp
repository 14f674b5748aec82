// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Readings.h"

#include "policies/modules/ModuleReading.h"
#include "service/BusTypes.h"
#include "service/ForceName.h"
#include "service/PrivateFiles.h"

namespace
{
QStringList describe(const QVector<ModuleLine> &lines)
{
    QStringList texts;
    for (const ModuleLine &line : lines) {
        const QString text =
            QStringLiteral("%1:%2: %3 %4")
                .arg(line.path, QString::number(line.number), line.type, line.options.join(QLatin1Char(' ')));
        texts += text.trimmed();
    }
    return texts;
}

Answer answerWith(const ModuleReading &reading)
{
    if (!reading.error.isEmpty()) {
        return Answer::failure(failedError, reading.error);
    }
    TextMap sources;
    for (auto value = reading.values.begin(); value != reading.values.end(); ++value) {
        sources.insert(value.key(), reading.source);
    }
    const QVariantMap state{{QStringLiteral("installed"), !reading.modulePath.isEmpty()},
                            {QStringLiteral("force"), forceName(reading.force)},
                            {QStringLiteral("lines"), describe(reading.lines)}};
    return {{reading.values, QVariant::fromValue(sources), state}, {}, {}, {}};
}
}

std::optional<Answer> Readings::remembered(const ModulePolicy &policy)
{
    if (m_watch.hasNoticed()) {
        m_watch.clear();
        m_remembered.clear();
    }
    const auto found = m_remembered.constFind(policy.name);
    return found == m_remembered.constEnd() ? std::nullopt : std::make_optional(*found);
}

Answer Readings::answerFor(const ModulePolicy &policy, const Caller &caller)
{
    if (const std::optional<Answer> known = remembered(policy)) {
        return *known;
    }
    const ModuleReading reading = readModule(policy);
    Answer answer = answerWith(reading);
    // a failure may have been one of the moment
    if (reading.error.isEmpty() && areForEveryone(reading.paths) && m_watch.watches(reading.paths)) {
        m_remembered.insert(policy.name, answer);
    }
    // from before the next one on
    m_watch.add(reading.paths);
    const Answer refusal = refusalToTell(reading.paths, caller);
    return refusal.error.isEmpty() ? answer : refusal;
}
