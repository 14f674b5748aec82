// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/fuzz/Fuzzing.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

FuzzInput::FuzzInput(const uint8_t *data, std::size_t size)
    : m_bytes(reinterpret_cast<const char *>(data), static_cast<int>(size))
{
}

uint8_t FuzzInput::takeByte()
{
    return m_place < m_bytes.size() ? static_cast<uint8_t>(m_bytes.at(m_place++)) : uint8_t(0);
}

qlonglong FuzzInput::takeNumber()
{
    // mostly small ones, as people have them
    const int length = takeByte() % 9;
    quint64 number = 0;
    for (int i = 0; i < length; ++i) {
        number = number << 8 | takeByte();
    }
    return takeByte() & 1 ? -static_cast<qlonglong>(number >> 1) : static_cast<qlonglong>(number >> 1);
}

QByteArray FuzzInput::take(int length)
{
    const QByteArray taken = m_bytes.mid(m_place, length);
    m_place += taken.size();
    return taken;
}

QByteArray FuzzInput::rest()
{
    return take(m_bytes.size());
}

QVariant FuzzInput::takeValue()
{
    switch (takeByte() % 10) {
    case 0:
        return true;
    case 1:
        return false;
    case 2:
        return static_cast<int>(takeNumber());
    case 3:
        return takeNumber();
    case 4:
        return static_cast<qulonglong>(takeNumber());
    case 5:
        return static_cast<double>(takeNumber()) / 3;
    case 6:
        return QString::fromUtf8(take(takeByte() % 16));
    case 7:
        return take(takeByte() % 16);
    case 8:
        return QVariantList{takeNumber(), true};
    default:
        return {};
    }
}

QVariantMap FuzzInput::takeMap(const QStringList &keys)
{
    QVariantMap map;
    for (const QString &key : keys) {
        if (takeByte() & 1) {
            map.insert(key, takeValue());
        }
    }
    return map;
}

QVariantMap FuzzInput::takeFittingMap(const QStringList &flags, const QStringList &numbers, int smallest)
{
    QVariantMap map;
    for (const QString &flag : flags) {
        map.insert(flag, (takeByte() & 1) != 0);
    }
    for (const QString &number : numbers) {
        if (takeByte() & 1) {
            map.insert(number, qMax(smallest, static_cast<int>(takeNumber())));
        }
    }
    return map;
}

QStringList wordsOf(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

namespace
{
PamWords pamWords(const PamPolicy &policy)
{
    const PamProfile &profile = policy.profiles.last();
    PamWords words{profile.path(), policy.stack, profile.module.toLatin1() + ".so", {}, {}, policy.correctedOption};
    for (const PamOption &option : policy.options) {
        (option.kind == PamOption::Kind::Flag ? words.flags : words.numbers) += option.name;
    }
    return words;
}
}

const PamWords lockoutWords = pamWords(lockoutPolicy());
const PamWords complexityWords = pamWords(complexityPolicy());

void require(bool property, const char *what, const QByteArray &shown)
{
    if (!property) {
        std::fprintf(stderr, "does not hold: %s\n%s\n", what, shown.constData());
        std::abort();
    }
}
