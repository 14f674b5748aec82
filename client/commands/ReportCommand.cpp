// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ReportCommand.h"

#include "client/Translation.h"
#include "client/commands/PolicyReadings.h"
#include "client/output/HtmlReport.h"
#include "client/output/Terminal.h"
#include "client/settings/Policies.h"
#include "client/stores/AccountStore.h"
#include "messages/LocalText.h"
#include "tasks/ExportHtmlTask.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace
{
QString userOption()
{
    return QStringLiteral("user");
}

Outcome addAccounts(const QStringList &accounts, QVector<Section> *sections)
{
    for (const QString &account : accounts) {
        AccountStore store(account);
        const Reading reading = store.read();
        if (!reading.outcome.succeeded()) {
            return reading.outcome;
        }
        sections->append(
            {translate("ReportCommand", "Account %1").arg(account), &store.schema(), store.inForce(reading.settings)});
    }
    return {};
}

/// In the locale's encoding; Qt 6's own would be UTF-8 whatever the locale is.
QString hostName()
{
    utsname names = {};
    return uname(&names) == 0 ? localText(names.nodename) : QString();
}

Outcome notWritten(const QString &path, const QString &reason)
{
    return {ExitCode::Failed,
            translate("ReportCommand", "%1 could not be written").arg(path) + QLatin1Char('\n') + reason};
}

/// Into a pipe or a device, which can't be read back: what the task leaves unchecked is checked byte by byte.
Outcome writeStream(const QString &path, const QByteArray &page)
{
    QFile stream(path);
    if (!stream.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || stream.write(page) != page.size()) {
        return notWritten(path, stream.errorString());
    }
    return {};
}

/// A file of this user's, for him alone, before anything is in it. If it can't be opened, the write will tell.
bool makePrivate(const QString &path)
{
    const int file = open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) {
        return true;
    }
    struct stat status = {};
    errno = EPERM; // where it is somebody else's
    const bool isPrivate =
        fstat(file, &status) == 0 && status.st_uid == geteuid() && fchmod(file, S_IRUSR | S_IWUSR) == 0;
    close(file);
    return isPrivate;
}

/// Writes the page and looks whether all of it is there, which the task itself doesn't.
Outcome writePage(const QString &path, const QString &html, bool isSecret)
{
    if (path == QLatin1String("-")) {
        out().writeBytes(html.toUtf8()); // whether that succeeds is seen at the end
        return {};
    }
    const QFileInfo target(path);
    if (target.exists() && !target.isFile() && !target.isDir()) {
        return writeStream(path, html.toUtf8());
    }
    if (isSecret && !target.isDir() && !makePrivate(path)) {
        return notWritten(path, localText(std::strerror(errno)));
    }
    auto values = std::make_unique<QVariantMap>();
    values->insert(QStringLiteral("filePath"), path);
    values->insert(QStringLiteral("htmlText"), html);
    ExportHtmlTask task(values.release());
    task.run();
    if (task.result().state() == TaskState::Failed) {
        return notWritten(path, task.result().description() + QLatin1Char('\n') + task.result().message());
    }
    QFile written(path);
    if (!written.open(QIODevice::ReadOnly) || written.readAll() != html.toUtf8()) {
        return {ExitCode::Failed, translate("ReportCommand", "%1 was not written completely").arg(path)};
    }
    return {};
}

ExitCode fail(const Outcome &outcome)
{
    printError(outcome.error);
    return outcome.code;
}
}

QString ReportCommand::name() const
{
    return QStringLiteral("report");
}

QString ReportCommand::summary() const
{
    return translate("ReportCommand", "Write the policies in force as an HTML page.");
}

QList<Argument> ReportCommand::arguments() const
{
    return {{QStringLiteral("FILE"),
             translate("ReportCommand", "The file to write; one that is there is replaced. - for the standard output."),
             QStringLiteral("FILE")}};
}

QList<QCommandLineOption> ReportCommand::options() const
{
    return QList<QCommandLineOption>{
               {userOption(),
                translate("ReportCommand", "Report this account too (root only). May be given several times."),
                QStringLiteral("NAME")}}
    + accessOptions();
}

ExitCode ReportCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.isEmpty()) {
        return usageError(translate("ReportCommand", "into which file?"));
    }
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    const PolicyReadings readings = readPolicies(policyNames(), accessOf(line));
    Report report{hostName(), QDateTime::currentDateTime(), policySections(readings.settings), {}};
    for (const Outcome &failure : readings.failures) {
        report.failures += failure.error;
    }
    const Outcome accounts = addAccounts(line.values(userOption()), &report.sections);
    if (!accounts.succeeded()) {
        return fail(accounts);
    }
    const Outcome written = writePage(words.first(), htmlReport(report), line.isSet(userOption()));
    return written.succeeded() ? printFailures(readings) : fail(written);
}

QVector<Candidate> ReportCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? QVector<Candidate>{{anyFile(), {}}} : QVector<Candidate>();
}
