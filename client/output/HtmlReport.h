// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/Sections.h"

#include <QDateTime>
#include <QStringList>

struct Report {
    QString machine;
    QDateTime time;
    QVector<Section> sections;
    /// What couldn't be read, and why.
    QStringList failures;
};

/// One self-contained page; every text in it is escaped.
QString htmlReport(const Report &report);
