// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/effective/InForce.h"
#include "client/preview/Preview.h"
#include "client/settings/Setting.h"
#include "client/stores/StoreName.h"

/// What was read.
struct Reading {
    Outcome outcome;
    /// Valid where the outcome is a success.
    Settings settings;
};

/**
 * A place where settings are in force: a policy of the machine, or an account.
 */
class SettingsStore
{
public:
    virtual ~SettingsStore();

    virtual StoreName name() const = 0;
    /// As part of a sentence: "the lockout policy".
    virtual QString phrase() const = 0;
    virtual const SettingSchema &schema() const = 0;

    /// Whether there is such a place.
    virtual bool exists() const;

    virtual Reading read() = 0;
    /// Whether a write can succeed, as far as a read has told.
    virtual bool mayBeWritable() const;
    /// Makes these the settings; one that isn't set there is removed.
    virtual Outcome write(const Settings &settings) = 0;

    /// What the settings, as they were read, come to; just those where nothing else has a say.
    virtual InForce inForce(const Settings &read) const;
    /// Why nothing that is written can come into force here, in one line or more; empty if it can.
    virtual QString obstacle() const;
    /// What write() would do. A store that keeps its settings in no files of text has no preview: a success without files.
    virtual Preview preview(const Settings &settings) const;

    /// What a change would bring about that nobody should ask for by accident, a sentence; empty if nothing.
    virtual QString danger(const Settings &before, const Settings &wanted) const;

    /// Whether the settings stay where the policy is switched off.
    virtual bool keepsSettingsWhenOff() const;

    /// Whether a write leaves what others have changed since the last read, as long as it isn't to change that itself.
    virtual bool keepsOthersChanges() const;

    /// Why something that was written might not be in force, one line; empty if that isn't known.
    virtual QString reasonNotInForce() const;

protected:
    /// An error that begins with what failed. What a task tells, which goes on with what was tried, comes below.
    QString readFailure(const QString &told) const;
    QString writeFailure(const QString &told) const;
};
