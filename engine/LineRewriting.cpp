// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/LineRewriting.h"

#include "engine/LineWalk.h"
#include "engine/RegExpHandler.h"

#include <QIODevice>

namespace
{
QByteArray finishedLine(const QByteArray &setting, const QByteArray &comment)
{
    return comment.isEmpty() ? setting + '\n' : setting + '\t' + comment + '\n';
}
}

void rewriteLines(QIODevice *source, QIODevice *destination, RegExpHandler *handler)
{
    walkLines(source, *handler, [destination, handler](const QByteArray &line, bool matched) {
        QByteArray buffer = line;
        const bool replaced = matched && handler->handleLine(&buffer);
        destination->write(replaced ? finishedLine(buffer, commentOf(line)) : buffer);
    });
    QByteArray tail;
    if (handler->appendLines(&tail)) {
        destination->write(tail);
    }
}
