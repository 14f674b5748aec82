// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QDateTime>
#include <QString>
#include <QVector>

#include <optional>

/// What pam_faillock has recorded of an account.
struct FailureRecord {
    QString account;
    /// Failed logins that count: the last one and those within fail_interval before it.
    int failures = 0;
    /// Of those, UTC.
    QDateTime first;
    QDateTime last;
    /// Where the last one came from: a host, a terminal or a service; may be empty. Printable, in one line, but no more to be
    /// relied on: the file is the account's own.
    QString source;
    /// Whether it is locked now.
    bool isLocked = false;
    /// When it opens by itself, UTC; none if it never does, or isn't locked.
    std::optional<QDateTime> until;
};

struct FailureListing {
    /// Why the records can't be read, or what they come to isn't known; one line; empty if they were. The accounts are those
    /// that could be read.
    QString error;
    /// Those with failures that count, by name.
    QVector<FailureRecord> accounts;
};

/**
 * The accounts that have failed to log in, by the records in pam_faillock's folder and the limits that it goes by: those of
 * faillock.conf(5), or of the file that its line names instead, and of the options of the line that refuses who is locked. Only
 * root may read the records of others. Nobody is locked where no such line is in any stack.
 *
 * No folder and no file is no failure: the first one that somebody makes creates them.
 */
FailureListing failureRecords();

/**
 * Forgets the failures of an account, and so opens it, by means of faillock(8). The record is a file of the account's own,
 * who may hold it locked: that is told at once.
 *
 * @return why that failed, one line; empty if it didn't. An account without failures is no error
 */
QString forgetFailures(const QString &account);

/// Whether no database of accounts says now that there is such an account, nor that there is none. May wait for one in the
/// network.
bool cannotBeLookedUp(const QString &account);

/// Where pam_faillock keeps its records.
QString failureFolder();
