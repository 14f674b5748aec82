// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/LineWalk.h"

#include "engine/RegExpHandler.h"

#include <QIODevice>

namespace
{
constexpr char commentMark = '#';

/// The whole line where it has no comment. NUL bytes are left to the decoding, which ends at the first.
QByteArray textBeforeComment(const QByteArray &line)
{
    return line.mid(0, line.indexOf(commentMark));
}
}

void walkLines(QIODevice *device, const RegExpHandler &handler, const LineVisitor &visit)
{
    for (QByteArray line = device->readLine(); !line.isNull(); line = device->readLine()) {
        visit(line, handler.matches(textBeforeComment(line)));
    }
}

QByteArray commentOf(const QByteArray &line)
{
    const int start = line.indexOf(commentMark);
    return start == -1 ? QByteArray() : line.mid(start).trimmed();
}
