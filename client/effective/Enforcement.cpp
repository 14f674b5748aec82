// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Enforcement.h"

#include "client/Translation.h"
#include "client/system/PamFiles.h"

#include <QRegularExpression>

#include <algorithm>

namespace
{
/// What a module that checks passwords returns for a weak one that it has asked for so often.
QString verdictAfter(qlonglong tries)
{
    return tries > 1 ? QStringLiteral("maxtries") : QStringLiteral("authtok_err");
}

/// What a control in brackets does about what a module returns; empty where it doesn't say.
QString actionInBrackets(const QString &verdict, const QString &control)
{
    const QRegularExpression action(QStringLiteral("\\b%1=(\\w+)").arg(verdict));
    return action.match(control).captured(1);
}

/// What is done about what a module returns, in the words that stand in brackets.
QString actionFor(const QString &verdict, const QString &control)
{
    const QString word = control.toLower();
    if (!word.contains(QLatin1Char('='))) {
        static const QMap<QString, QString> actions{{QStringLiteral("requisite"), QStringLiteral("die")},
                                                    {QStringLiteral("required"), QStringLiteral("bad")}};
        return actions.value(word, QStringLiteral("ignore"));
    }
    const QString named = actionInBrackets(verdict, word);
    return named.isEmpty() ? actionInBrackets(QStringLiteral("default"), word) : named;
}

/// Whether pam_unix asks for a password itself, and stores it although another line refuses. The lines above the refusing
/// one have run by then; those below it run unless it ends the stack.
bool isStoredAllTheSame(const QString &stack, const PamLine &refusing, bool ends)
{
    const auto storing = pamLines(fileContent(stack), QStringLiteral("password"), QStringLiteral("pam_unix"));
    return std::any_of(storing.begin(), storing.end(), [&refusing, ends](const PamLine &line) {
        return !line.options.contains(QLatin1String("use_authtok")) && (line.number < refusing.number || !ends);
    });
}
}

QStringList missingRemarks(const QString &stack, const QString &module)
{
    if (!modulePath(module).isEmpty()) {
        return {};
    }
    return {translate("Enforcement", "%1 names %2.so, which is not installed").arg(stack, module)};
}

QStringList enforcementRemarks(const QString &stack, const QString &module, const PamLine &line, qlonglong tries)
{
    QStringList remarks = missingRemarks(stack, module);
    const QString action = actionFor(verdictAfter(tries), line.control);
    const bool ends = action == QLatin1String("die");
    if (!ends && action != QLatin1String("bad")) {
        remarks +=
            translate("Enforcement", "weak passwords may pass: %1 is \"%2\" in %3").arg(module, line.control, stack);
    } else if (isStoredAllTheSame(stack, line, ends)) {
        remarks += translate("Enforcement",
                             "weak passwords may be stored: pam_unix in %1 asks for one itself, without use_authtok")
                       .arg(stack);
    }
    return remarks;
}

QStringList formerPasswordRemarks(const QString &stack, const PamLine &line)
{
    const QString action = actionFor(QStringLiteral("maxtries"), line.control);
    const bool ends = action == QLatin1String("die");
    if (!ends && action != QLatin1String("bad")) {
        return {translate("Enforcement", "former passwords may pass: pam_pwhistory is \"%1\" in %2")
                    .arg(line.control, stack)};
    }
    if (isStoredAllTheSame(stack, line, ends)) {
        return {translate("Enforcement",
                          "former passwords may be stored: pam_unix in %1 asks for one itself, without use_authtok")
                    .arg(stack)};
    }
    return {};
}
