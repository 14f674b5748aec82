// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/Translation.h"
#include "client/commands/CommandLine.h"
#include "client/output/Terminal.h"
#include "messages/LocalText.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QLocale>
#include <QTranslator>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace
{
/// Opened the wrong way round, so that reading and printing fail as they would on a closed one.
bool openIfClosed(int stream)
{
    if (fcntl(stream, F_GETFD) != -1) {
        return true;
    }
    const int opened = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    // cppcheck-suppress resourceLeak // open until the end
    return opened == stream;
}

/// Otherwise the next file or socket would get the number of a closed stream, and the texts meant for that.
bool openClosedStreams()
{
    // in the order in which free numbers are given out
    return openIfClosed(STDIN_FILENO) && openIfClosed(STDOUT_FILENO) && openIfClosed(STDERR_FILENO);
}

QtMessageHandler usualHandler;

void handleAllButWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtWarningMsg) {
        usualHandler(type, context, text);
    }
}

/**
 * The application, in the locale that the user has set.
 *
 * Where that isn't one of UTF-8, Qt 6 would take another one, and warn of it: the first is undone, the second unheard.
 */
std::unique_ptr<QCoreApplication> makeApplication(int *argc, char **argv)
{
    usualHandler = qInstallMessageHandler(handleAllButWarnings);
    auto application = std::make_unique<QCoreApplication>(*argc, argv);
    qInstallMessageHandler(nullptr);
    static_cast<void>(std::setlocale(LC_ALL, ""));
    return application;
}

/// A result that didn't arrive is none; but a reader that has seen enough, such as head(1), is no failure.
ExitCode closeOutput(ExitCode code)
{
    const int error = out().close();
    if (error == 0 || error == EPIPE) {
        return code;
    }
    printError(translate("main", "cannot write: %1").arg(localText(std::strerror(error))));
    return code == ExitCode::Done ? ExitCode::Failed : code;
}
}

int main(int argc, char *argv[])
{
    if (!openClosedStreams()) {
        printError(QStringLiteral("/dev/null cannot be opened")); // too early for a translation
        return static_cast<int>(ExitCode::Failed);
    }
    // Qt's list of types begins here, before the bus's thread, and so ends behind it: what that holds then can be freed
    qRegisterMetaType<QDBusArgument>();
    const auto application = makeApplication(&argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(VERSION));
    QTranslator translator;
    if (translator.load(
            QLocale(), QStringLiteral("accountpolicyctl"), QStringLiteral("_"), QStringLiteral(TRANSLATIONS))) {
        QCoreApplication::installTranslator(&translator);
    }
    return static_cast<int>(closeOutput(runCommandLine(QCoreApplication::arguments())));
}
