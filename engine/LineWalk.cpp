// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/LineWalk.h"

#include "engine/RegExpHandler.h"

#include <QIODevice>

namespace
{
constexpr char commentMark = '#';
// How much is read at a time. A whole file may be larger than a QByteArray, single lines leave gaps in the heap, and
// for a larger piece than this, malloc() maps new pages each time instead of using the heap.
constexpr qint64 pieceSize = 65536;

int lineEndIn(const QByteArray &piece, int from)
{
    return static_cast<int>(piece.indexOf('\n', from)); // no piece is as large as an int
}

/// The whole line where it has no comment. NUL bytes are left to the decoding, which ends at the first.
QByteArray textBeforeComment(const QByteArray &line)
{
    return line.mid(0, line.indexOf(commentMark));
}
}

void walkLines(QIODevice *device, const RegExpHandler &handler, const LineVisitor &visit)
{
    QByteArray line;
    const auto visitLine = [&] {
        visit(line, handler.matches(textBeforeComment(line)));
        line.clear();
    };
    for (QByteArray piece = device->read(pieceSize); !piece.isEmpty(); piece = device->read(pieceSize)) {
        int begin = 0;
        for (int end = lineEndIn(piece, 0); end != -1; end = lineEndIn(piece, begin)) {
            line += piece.mid(begin, end + 1 - begin);
            visitLine();
            begin = end + 1;
        }
        line += piece.mid(begin);
    }
    if (!line.isEmpty()) {
        visitLine();
    }
}

QByteArray commentOf(const QByteArray &line)
{
    const auto start = line.indexOf(commentMark);
    return start == -1 ? QByteArray() : line.mid(start).trimmed();
}
