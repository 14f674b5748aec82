// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVariantMap>

#include <cstddef>
#include <cstdint>

/**
 * Takes pieces off the bytes that the fuzzer made up.
 */
class FuzzInput
{
public:
    FuzzInput(const uint8_t *data, std::size_t size);

    uint8_t takeByte();
    qlonglong takeNumber();
    QByteArray take(int length);
    QByteArray rest();

    /// A value of some type: bool, numbers of all widths, texts, lists, nothing.
    QVariant takeValue();

    /// Some of the keys, with values of any type.
    QVariantMap takeMap(const QStringList &keys);
    /// Some of the keys: the flags as bool, the others as numbers that fit an int.
    QVariantMap takeFittingMap(const QStringList &flags, const QStringList &numbers, int smallest);

private:
    QByteArray m_bytes;
    int m_place = 0;
};

/// The words of a text, cut at blanks.
QStringList wordsOf(const char *text);

/// What a PAM policy's files and options are called.
struct PamWords {
    QString profile;
    QString stack;
    QByteArray module;
    QStringList flags;
    QStringList numbers;
    /// The one that is corrected in the stack, too.
    QString corrected;

    QStringList options() const
    {
        return flags + numbers;
    }
};

extern const PamWords lockoutWords;
extern const PamWords complexityWords;

/// Ends the fuzzer with its report unless the property holds.
void require(bool property, const char *what, const QByteArray &shown = QByteArray());
