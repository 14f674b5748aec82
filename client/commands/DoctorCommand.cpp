// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/DoctorCommand.h"

#include "client/Translation.h"
#include "client/checkup/Checkup.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace
{
/// In lines that fit a terminal, below each other behind the grade; where a program reads them, in one.
QString fitted(const QString &text)
{
    constexpr int indentation = 6;
    const QString indent(indentation, QLatin1Char(' '));
    return out().isTerminal() ? wrapped(printable(text), out().width() - indentation).join(QLatin1Char('\n') + indent)
                              : printable(text);
}

QString lineOf(const Finding &finding)
{
    switch (finding.grade) {
    case Finding::Grade::Good:
        return out().good(translate("DoctorCommand", "ok   ")) + QLatin1Char(' ') + fitted(finding.text)
            + QLatin1Char('\n');
    case Finding::Grade::Note:
        break;
    case Finding::Grade::Wrong:
        return out().bad(translate("DoctorCommand", "WRONG")) + QLatin1Char(' ') + fitted(finding.text)
            + QStringLiteral("\n      ") + fitted(finding.remedy) + QLatin1Char('\n');
    }
    return translate("DoctorCommand", "note ") + QLatin1Char(' ') + fitted(finding.text) + QStringLiteral("\n      ")
        + fitted(finding.remedy) + QLatin1Char('\n');
}

QString gradeWord(Finding::Grade grade)
{
    switch (grade) {
    case Finding::Grade::Good:
        return QStringLiteral("ok");
    case Finding::Grade::Note:
        break;
    case Finding::Grade::Wrong:
        return QStringLiteral("wrong");
    }
    return QStringLiteral("note");
}

void printJson(const QVector<Finding> &findings)
{
    QJsonArray array;
    for (const Finding &finding : findings) {
        array += QJsonObject{{QStringLiteral("grade"), gradeWord(finding.grade)},
                             {QStringLiteral("text"), finding.text},
                             {QStringLiteral("remedy"), finding.remedy}};
    }
    out().write(QString::fromUtf8(QJsonDocument(QJsonObject{{QStringLiteral("findings"), array}}).toJson()));
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

QList<QCommandLineOption> DoctorCommand::options() const
{
    return {jsonOption()};
}

ExitCode DoctorCommand::run(const QCommandLineParser &line) const
{
    if (!line.positionalArguments().isEmpty()) {
        return tooManyArguments(line.positionalArguments().constFirst());
    }
    const QVector<Finding> findings = checkInstallation();
    if (line.isSet(QStringLiteral("json"))) {
        printJson(findings);
    } else {
        for (const Finding &finding : findings) {
            out().write(lineOf(finding));
        }
    }
    const bool works = std::none_of(findings.cbegin(), findings.cend(), [](const Finding &finding) {
        return finding.grade == Finding::Grade::Wrong;
    });
    return works ? ExitCode::Done : ExitCode::Failed;
}
