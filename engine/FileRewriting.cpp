// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileRewriting.h"

#include "engine/CommandRunner.h"
#include "engine/LineRewriting.h"
#include "messages/ErrorText.h"

#include <QFile>

namespace
{
bool openFile(QFile *file, QIODevice::OpenMode mode, QString *errorString)
{
    if (file->open(mode)) {
        return true;
    }
    appendMessage(errorString, fileErrorMessage(*file));
    return false;
}

bool makeBackup(QFile *target, QString *errorString)
{
    const QString backup = target->fileName() + QLatin1String(".bak");
    if (QFile::exists(backup)) {
        // QFile::copy never replaces a file; if this one stays, the copy says why
        QFile::remove(backup);
    }
    if (target->copy(backup)) {
        return true;
    }
    appendMessage(errorString, fileErrorMessage(*target));
    return false;
}
}

bool rewriteFile(const QString &path, RegExpHandler *handler, QString *errorString, bool keepBackup)
{
    QFile target(path);
    if (!QFile::exists(path)) {
        appendMessage(errorString, missingFileMessage(target));
        return false;
    }
    QFile temporary(path + QLatin1String(temporarySuffix));
    // the copy gives the temporary file its mode and owner before it holds anything new
    if (!copyFile(path, temporary.fileName(), errorString)) {
        return false;
    }
    if (!openFile(&target, QIODevice::ReadOnly, errorString)
        || !openFile(&temporary, QIODevice::WriteOnly, errorString)) {
        return false;
    }
    // writes are not checked: a full disk shows only in the copy that follows, if at all
    rewriteLines(&target, &temporary, handler);
    temporary.close();
    target.close();
    if (keepBackup && !makeBackup(&target, errorString)) {
        return false;
    }
    if (!copyFile(temporary.fileName(), path, errorString)) {
        return false;
    }
    if (!temporary.remove()) {
        // no failure: the new content is in place, the message only reports the leftover
        appendMessage(errorString, fileErrorMessage(temporary));
    }
    return true;
}
