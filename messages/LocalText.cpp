// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/LocalText.h"

#include <QTextCodec>

QString localText(const QByteArray &bytes)
{
    return wholeLocalText(bytes.mid(0, bytes.indexOf('\0')));
}

QString wholeLocalText(const QByteArray &bytes)
{
    return QTextCodec::codecForLocale()->toUnicode(bytes);
}

QByteArray localBytes(const QString &text)
{
    return QTextCodec::codecForLocale()->fromUnicode(text);
}
