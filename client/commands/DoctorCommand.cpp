// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/DoctorCommand.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "client/system/Checkup.h"

namespace
{
QString lineOf(const Finding &finding)
{
    switch (finding.grade) {
    case Finding::Grade::Good:
        return out().good(translate("DoctorCommand", "ok   ")) + QLatin1Char(' ') + printable(finding.text)
            + QLatin1Char('\n');
    case Finding::Grade::Note:
        break;
    case Finding::Grade::Wrong:
        return out().bad(translate("DoctorCommand", "WRONG")) + QLatin1Char(' ') + printable(finding.text)
            + QStringLiteral("\n      ") + printable(finding.remedy) + QLatin1Char('\n');
    }
    return translate("DoctorCommand", "note ") + QLatin1Char(' ') + printable(finding.text) + QStringLiteral("\n      ")
        + printable(finding.remedy) + QLatin1Char('\n');
}
}

QString DoctorCommand::name() const
{
    return QStringLiteral("doctor");
}

QString DoctorCommand::summary() const
{
    return translate("DoctorCommand", "Check the installation, and tell how to mend it.");
}

ExitCode DoctorCommand::run(const QCommandLineParser &line) const
{
    if (!line.positionalArguments().isEmpty()) {
        return tooManyArguments(line.positionalArguments().constFirst());
    }
    ExitCode result = ExitCode::Done;
    const auto findings = checkInstallation();
    for (const Finding &finding : findings) {
        out().write(lineOf(finding));
        if (finding.grade == Finding::Grade::Wrong) {
            result = ExitCode::Failed;
        }
    }
    return result;
}
