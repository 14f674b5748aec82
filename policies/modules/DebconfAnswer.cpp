// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/DebconfAnswer.h"

#include "engine/Command.h"

#include <QFile>

namespace
{
/// Null where there is none.
QByteArray answerIn(const QString &path)
{
    QFile database(path);
    const auto lines = database.open(QIODevice::ReadOnly) ? database.readAll().split('\n') : QByteArrayList();
    const QByteArray name = "Value:";
    const auto question = lines.indexOf("Name: libpam-runtime/profiles");
    for (auto line = question; line != -1 && line < lines.size() && !lines.at(line).isEmpty(); ++line) {
        if (lines.at(line).startsWith(name)) {
            return lines.at(line).mid(name.size()).trimmed();
        }
    }
    return {};
}
}

DebconfAnswer::DebconfAnswer(const QString &root, const QProcessEnvironment &environment)
    : m_path(root + QLatin1String("/var/cache/debconf/config.dat"))
    , m_environment(environment)
    , m_taken(answerIn(m_path))
{
}

QString DebconfAnswer::putBack() const
{
    if (m_taken.isNull() || answerIn(m_path) == m_taken) {
        return {};
    }
    const QString script =
        QStringLiteral("echo \"SET libpam-runtime/profiles $0\" | debconf-communicate libpam-runtime");
    const CommandOutcome outcome = runCommand(
        {QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script, QString::fromUtf8(m_taken)}, m_environment, true});
    if (outcome.succeeded() && answerIn(m_path) == m_taken) {
        return {};
    }
    const bool hasExited = outcome.end == CommandOutcome::End::Exited;
    return m_path + QLatin1String(": ") + (hasExited ? outcome.standardError.simplified() : outcome.errorString);
}
