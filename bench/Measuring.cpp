// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bench/Measuring.h"

#include <QElapsedTimer>
#include <QTextStream>

#include <algorithm>

namespace
{
int aboveLimit = 0;

double once(const Work &prepare, const Work &work)
{
    if (prepare) {
        prepare();
    }
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(QVector<double> values)
{
    const auto middle = values.begin() + values.size() / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
}

QVector<double> measureInTurn(int rounds, const QVector<Work> &works)
{
    QVector<QVector<double>> times(works.size());
    for (int i = 0; i < rounds; ++i) {
        for (int work = 0; work < works.size(); ++work) {
            times[work] += once({}, works[work]);
        }
    }
    QVector<double> medians;
    std::transform(times.cbegin(), times.cend(), std::back_inserter(medians), median);
    return medians;
}

Medians measure(int rounds, const Work &ours, const Work &theirs, const Work &prepareOurs, const Work &prepareTheirs)
{
    QVector<double> oursTimes;
    QVector<double> theirsTimes;
    for (int i = 0; i < rounds; ++i) {
        oursTimes += once(prepareOurs, ours);
        theirsTimes += once(prepareTheirs, theirs);
    }
    return {median(oursTimes), median(theirsTimes)};
}

double measure(int rounds, const Work &work)
{
    return measureInTurn(rounds, {work}).constFirst();
}

void printHeading(const QString &heading)
{
    QTextStream(stdout) << QStringLiteral("\n%1\n%2 %3 %4 %5 %6\n")
                               .arg(heading)
                               .arg(QString(), -44)
                               .arg(QStringLiteral("ours ms"), 10)
                               .arg(QStringLiteral("other ms"), 10)
                               .arg(QStringLiteral("ratio"), 7)
                               .arg(QStringLiteral("limit"), 7);
}

void printRow(const QString &name, const Medians &medians, std::optional<double> limit)
{
    const double ratio = medians.first / medians.second;
    const bool above = limit && ratio > *limit;
    aboveLimit += above ? 1 : 0;
    QTextStream(stdout) << QStringLiteral("%1 %2 %3 %4 %5%6\n")
                               .arg(name, -44)
                               .arg(medians.first, 10, 'f', 3)
                               .arg(medians.second, 10, 'f', 3)
                               .arg(ratio, 7, 'f', 2)
                               .arg(limit ? QString::number(*limit, 'f', 2) : QString(), 7)
                               .arg(above ? QStringLiteral("  ABOVE") : QString());
}

int rowsAboveLimit()
{
    return aboveLimit;
}
