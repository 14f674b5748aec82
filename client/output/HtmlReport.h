// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

#include <QDateTime>
#include <QStringList>

/// A table of a report.
struct ReportSection {
    QString title;
    const SettingSchema *schema;
    InForce inForce;
};

struct Report {
    QString machine;
    QDateTime time;
    QVector<ReportSection> sections;
    /// What couldn't be read, and why.
    QStringList failures;
};

/// One self-contained page; every text in it is escaped.
QString htmlReport(const Report &report);
