// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ExportHtmlTask.h"

#include "messages/ErrorText.h"

#include <QFile>
#include <QObject>

ExportHtmlTask::ExportHtmlTask(QVariantMap *values) : AbstractTask(values)
{
    result().setDescription(QObject::tr("Export to HTML"));
}

void ExportHtmlTask::run()
{
    QFile file(values()->value(QStringLiteral("filePath")).toString());
    if (!file.open(QIODevice::WriteOnly)) {
        result().fail(fileErrorMessage(file));
        return;
    }
    // unchecked: only a file that can't be opened is a failure
    const QByteArray html = values()->value(QStringLiteral("htmlText")).toString().toUtf8();
    file.write(html.constData(), html.size());
    file.close();
    result().succeed(QString());
}

void ExportHtmlTask::cancel()
{
}
