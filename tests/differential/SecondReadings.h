// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/differential/FileGenerator.h"

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

/// A difference: the bytes of the file, as a literal of C++ would have them, and both sides.
QByteArray
difference(quint32 seed, int number, const Record &record, const QByteArray &expected, const QByteArray &actual);

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

/// The main() of a test program; @p Test is made from its Extent.
template<typename Test>
int runTest(int argc, char **argv, int usualFiles)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    Test test(takeExtent(&arguments, usualFiles));
    return QTest::qExec(&test, arguments);
}
