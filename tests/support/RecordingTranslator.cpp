// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/RecordingTranslator.h"

#include <QCoreApplication>

RecordingTranslator::RecordingTranslator()
{
    QCoreApplication::installTranslator(this);
}

RecordingTranslator::~RecordingTranslator()
{
    QCoreApplication::removeTranslator(this);
}

bool RecordingTranslator::isEmpty() const
{
    return false;
}

QString
RecordingTranslator::translate(const char *context, const char *sourceText, const char *disambiguation, int n) const
{
    Q_UNUSED(disambiguation)
    Q_UNUSED(n)
    // texts that only Qt 6 has translated, and nobody has a translation of: of the system's errors, and of a failed start
    const bool ofSystem = qstrcmp(context, "QIODevice") == 0 && qstrcmp(sourceText, "Unknown error") != 0
        && qstrcmp(sourceText, "file to open is a directory") != 0;
    if (ofSystem || qstrcmp(sourceText, "Child process set up failed: %1: %2") == 0) {
        return {};
    }
    m_texts.append(TranslatedText(context, sourceText));
    return QLatin1Char('[') + QString::fromUtf8(sourceText) + QLatin1Char(']');
}

QList<TranslatedText> RecordingTranslator::texts() const
{
    return m_texts;
}

QList<QByteArray> RecordingTranslator::contextsOf(const QByteArray &sourceText) const
{
    QList<QByteArray> contexts;
    for (const TranslatedText &text : m_texts) {
        if (text.second == sourceText) {
            contexts += text.first;
        }
    }
    return contexts;
}
