// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/TypedMap.h"

namespace
{
bool convertTo(const QByteArray &type, QVariant *value)
{
#if QT_VERSION_MAJOR >= 6
    return value->convert(QMetaType::fromName(type));
#else
    return value->convert(QMetaType::type(type.constData()));
#endif
}
}

QStringList typedEntries(const QVariantMap &map)
{
    QStringList entries;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        entries += QStringLiteral("%1: %2 %3").arg(it.key(), QLatin1String(it->typeName()), it->toString());
    }
    return entries;
}

QVariantMap typedMap(const QByteArray &entries)
{
    QVariantMap map;
    for (const QString &entry : QString::fromUtf8(entries).split(QStringLiteral(", "), Qt::SkipEmptyParts)) {
        const QString typeAndValue = entry.section(QStringLiteral(": "), 1);
        QVariant value = typeAndValue.section(QLatin1Char(' '), 1);
        const QByteArray type = typeAndValue.section(QLatin1Char(' '), 0, 0).toLatin1();
        if (!convertTo(type, &value)) {
            qFatal("%s is not the value of a type", qPrintable(entry));
        }
        map.insert(entry.section(QStringLiteral(": "), 0, 0), value);
    }
    return map;
}
