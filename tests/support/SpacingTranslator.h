// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/RecordingTranslator.h"

/// Translates each text into itself with white space around it.
class SpacingTranslator : public RecordingTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation, int n) const override
    {
        if (RecordingTranslator::translate(context, sourceText, disambiguation, n).isNull()) {
            return {};
        }
        return QLatin1String("\n\t ") + QString::fromUtf8(sourceText) + QLatin1String(" \t\n");
    }
};
