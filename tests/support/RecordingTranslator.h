// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QList>
#include <QPair>
#include <QTranslator>

/// A context and a source text.
using TranslatedText = QPair<QByteArray, QByteArray>;

/**
 * Notes every text that is looked up, and answers with that text between "[" and "]".
 * Installs itself with its construction and is gone with its destruction.
 */
class RecordingTranslator : public QTranslator
{
    Q_OBJECT

public:
    RecordingTranslator();
    ~RecordingTranslator() override;

    bool isEmpty() const override;
    QString translate(const char *context, const char *sourceText, const char *disambiguation, int n) const override;

    /// In the order of the look-ups.
    QList<TranslatedText> texts() const;
    /// The contexts in which @p sourceText was looked up; for where Qt looks up texts of its own in between.
    QList<QByteArray> contextsOf(const QByteArray &sourceText) const;

private:
    mutable QList<TranslatedText> m_texts;
};
