// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/PolicyReadings.h"

#include "client/output/Terminal.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/stores/PolicyReader.h"

PolicyReadings readPolicies(const QStringList &names, PolicyAccess access)
{
    PolicyReadings readings;
    PolicyReader reader(&access);
    for (const QString &name : names) {
        const Reading reading = reader.read(*findPolicy(name));
        if (reading.outcome.succeeded()) {
            readings.settings.insert(name, reading.settings);
            continue;
        }
        if (readings.failures.isEmpty() || readings.failures.last().error != reading.outcome.error) {
            readings.failures += reading.outcome;
        }
        if (reading.outcome.code != ExitCode::Failed) {
            break; // a user who cancelled, or whom polkit refuses: the next would end the same way
        }
    }
    return readings;
}

void printDocument(const PolicyReadings &readings)
{
    out().write(QString::fromUtf8(writeDocument(readings.settings)));
}

ExitCode printFailures(const PolicyReadings &readings)
{
    for (const Outcome &failure : readings.failures) {
        printError(failure.error);
    }
    return readings.failures.isEmpty() ? ExitCode::Done : readings.failures.first().code;
}
