// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/ErrorText.h"

#include "messages/LibraryText.h"

#include <QFileDevice>
#include <QObject>

void appendMessage(QString *errorString, const QString &message)
{
    if (!errorString->isEmpty()) {
        errorString->append(QLatin1Char('\n'));
    }
    errorString->append(message);
}

QString missingFileMessage(const QFileDevice &file)
{
    return QObject::tr("\"%1\" not exists").arg(file.fileName());
}

QString fileErrorMessage(const QFileDevice &file)
{
    return QObject::tr("\"%1\" error %2\n%3")
        .arg(file.fileName(), QString::number(file.error()), libraryText(file.errorString()));
}
