// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/SettingsStore.h"

#include "client/Translation.h"

SettingsStore::~SettingsStore() = default;

bool SettingsStore::exists() const
{
    return true;
}

bool SettingsStore::mayBeWritable() const
{
    return true;
}

InForce SettingsStore::inForce(const Settings &read) const
{
    InForce inForce;
    inForce.settings = read;
    return inForce;
}

QString SettingsStore::obstacle() const
{
    return {};
}

Preview SettingsStore::preview(const Settings &settings) const
{
    Q_UNUSED(settings)
    return {};
}

QString SettingsStore::danger(const Settings &before, const Settings &wanted) const
{
    Q_UNUSED(before)
    Q_UNUSED(wanted)
    return {};
}

bool SettingsStore::keepsSettingsWhenOff() const
{
    return true;
}

bool SettingsStore::keepsOthersChanges() const
{
    return false;
}

QString SettingsStore::reasonNotInForce() const
{
    return {};
}

QString SettingsStore::readFailure(const QString &told) const
{
    return translate("SettingsStore", "%1 could not be read").arg(phrase()) + QLatin1Char('\n') + told;
}

QString SettingsStore::writeFailure(const QString &told) const
{
    // no word of what is in force now: a task may fail halfway
    return translate("SettingsStore", "%1 could not be changed").arg(phrase()) + QLatin1Char('\n') + told;
}
