// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/ActionAnswer.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

namespace
{
/// By the number that a variant begins with in a stream; those of these types are the same in all versions of Qt.
bool isPlain(quint32 type)
{
    switch (type) {
    case QMetaType::UnknownType: // a value that is none
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QDate:
        return true;
    default:
        return false;
    }
}

bool takeValue(QDataStream *stream, QVariant *value)
{
    const QByteArray type = stream->device()->peek(sizeof(quint32));
    if (type.size() < static_cast<int>(sizeof(quint32)) || !isPlain(qFromBigEndian<quint32>(type.constData()))) {
        return false;
    }
    *stream >> *value;
    return stream->status() == QDataStream::Ok;
}

/// As many as there are said to be: room for them is taken one by one.
bool takeMap(QDataStream *stream, QVariantMap *map)
{
    quint32 count = 0;
    *stream >> count;
    for (quint32 taken = 0; taken < count; ++taken) {
        QString key;
        QVariant value;
        *stream >> key;
        if (stream->status() != QDataStream::Ok || !takeValue(stream, &value)) {
            return false;
        }
        map->insert(key, value);
    }
    return stream->status() == QDataStream::Ok;
}
}

std::optional<ActionAnswer> ActionAnswer::fromBytes(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    ActionAnswer answer;
    quint32 finder = 0;
    if (!takeMap(&stream, &answer.data)) {
        return {};
    }
    stream >> answer.error >> finder >> answer.description;
    return stream.status() == QDataStream::Ok ? std::make_optional(answer) : std::nullopt;
}
