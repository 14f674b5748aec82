// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/UnifiedDiff.h"

#include "client/Translation.h"
#include "messages/LibraryText.h"

#include <QProcess>
#include <QTemporaryFile>

namespace
{
constexpr int differ = 1;

QByteArray failureText(const QString &path, const QString &reason)
{
    return translate("UnifiedDiff", "%1 would change, and diff cannot say how: %2").arg(path, reason).toUtf8() + '\n';
}
}

QByteArray unifiedDiff(const QString &path, const QByteArray &before, const QByteArray &after, int context)
{
    QTemporaryFile old;
    if (!old.open() || old.write(before) != before.size() || !old.flush()) {
        return failureText(path, old.errorString());
    }
    QProcess diff;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    diff.setProcessEnvironment(environment);
    diff.start(QStringLiteral("diff"),
               {QStringLiteral("-U"),
                QString::number(context),
                QStringLiteral("--text"),
                QStringLiteral("--label"),
                path,
                QStringLiteral("--label"),
                path,
                old.fileName(),
                QStringLiteral("-")});
    diff.write(after);
    diff.closeWriteChannel();
    if (!diff.waitForFinished() || diff.exitStatus() != QProcess::NormalExit || diff.exitCode() > differ) {
        return failureText(path, libraryText(diff.errorString()));
    }
    return diff.readAllStandardOutput();
}
