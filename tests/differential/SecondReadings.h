// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/differential/FileGenerator.h"
#include "tests/support/Sandbox.h"

#include <QCoreApplication>
#include <QMetaType>
#include <QTest>
#include <QVector>

Q_DECLARE_METATYPE(Kind)

/// One question to a second reading.
struct Record {
    Kind kind;
    /// Its words before the length.
    QByteArray head;
    QByteArray content;
};

/// The lines that reading.pl or lenses.pl answers, one for each record. Ends the test program if there are not as many.
QByteArrayList readingsBy(const QString &script, const QVector<Record> &records);

/// The contents that rewriting.pl answers, one for each record. Ends the test program if there are not as many.
QByteArrayList rewritings(const QVector<Record> &records);

/// The policy's own reading of the file as it is on the system now, in the words of reading.pl.
QByteArray ownReading(Kind kind);

/// The state in which a write of the kind's policy ends.
int stateAfterWrite(Kind kind, const QVariantMap &arguments);

/// How many of the records, counted from @p first, differ. Some are printed, their bytes as in a literal of C++.
int countDifferences(quint32 seed,
                     const QVector<Record> &records,
                     const QByteArrayList &second,
                     const QByteArrayList &own,
                     int first = 0);

/// A column "kind" and a row for each.
void addKinds();

/// How much a test program compares.
struct Extent {
    quint32 seed = 1;
    /// Files of each kind.
    int files;
};

/// Takes "--seed N" and "--files N" off a command line.
Extent takeExtent(QStringList *arguments, int usualFiles);

/// The main() of a test program, which runs in the sandbox; @p Test is made from its Extent.
template<typename Test>
int runTest(int argc, char **argv, int usualFiles)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    const Extent extent = takeExtent(&arguments, usualFiles);
    if (!inSandbox()) {
        qFatal("%s", outsideSandbox);
    }
    qInfo("seed %u, %d files of each kind", extent.seed, extent.files);
    Test test(extent);
    return QTest::qExec(&test, arguments);
}
