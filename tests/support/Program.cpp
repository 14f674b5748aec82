// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/Program.h"

#include "tests/support/Files.h"

#include <QFileInfo>
#include <QProcess>
#include <QTest>

namespace
{
constexpr int timeLimit = 120000; // ms
}

bool operator==(const ProgramResult &left, const ProgramResult &right)
{
    return left.exitCode == right.exitCode && left.standardOutput == right.standardOutput
        && left.standardError == right.standardError;
}

char *toString(const ProgramResult &result)
{
    const QByteArray text = "ended with " + QByteArray::number(result.exitCode)
        + "\nstandard output: " + result.standardOutput + "\nstandard error: " + result.standardError;
    return qstrdup(text.constData());
}

ProgramResult runAs(int user, const QString &program, const QStringList &arguments, const QByteArray &input)
{
    const QString id = QString::number(user);
    const QStringList command{
        QStringLiteral("--reuid"), id, QStringLiteral("--regid"), id, QStringLiteral("--clear-groups"), program};
    QProcess process;
    process.start(QStringLiteral("setpriv"), command + arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool ended = process.waitForFinished(timeLimit) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
}

ProgramResult runAs(int user, const char *command, const QByteArray &input)
{
    const QStringList words = splitWords(QString::fromUtf8(command));
    return runAs(user, words.first(), words.mid(1), input);
}

QString nameOfCp()
{
    static const QString name = [] {
        QProcess process;
        process.start(QStringLiteral("/usr/bin/cp"), QStringList());
        process.waitForFinished(timeLimit);
        return QString::fromUtf8(process.readAllStandardError())
            .section(QStringLiteral(": missing file operand"), 0, 0);
    }();
    return name;
}

QString failureOfCp(const char *words)
{
    return QStringLiteral("Exit code: 1.\n\"%1: %2\"").arg(nameOfCp(), QString::fromUtf8(words));
}

QStringList splitWords(const QString &words)
{
    return words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString copyForEverybody(const QString &path)
{
    const QString copy = QStringLiteral("/run/tmp/") + QFileInfo(path).fileName();
    if (!QFileInfo::exists(copy)) {
        writeProgram(copy, contentOf(path));
    }
    return copy;
}
