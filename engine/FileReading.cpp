// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileReading.h"

#include "engine/LineWalk.h"
#include "engine/RegExpHandler.h"
#include "messages/ErrorText.h"

#include <QFile>

bool readFile(const QString &path, RegExpHandler *handler, QString *errorString)
{
    QFile file(path);
    if (!QFile::exists(path)) {
        appendMessage(errorString, missingFileMessage(file));
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        appendMessage(errorString, fileErrorMessage(file));
        return false;
    }
    walkLines(&file, *handler, [handler](const QByteArray &, bool matched) {
        if (matched) {
            handler->handleLine(nullptr);
        }
    });
    return true;
}
