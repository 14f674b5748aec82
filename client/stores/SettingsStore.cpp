// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/SettingsStore.h"

#include <QCoreApplication>

namespace
{
/// Translates this file's texts.
struct SettingsStoreText {
    Q_DECLARE_TR_FUNCTIONS(SettingsStore)
};
}

SettingsStore::~SettingsStore() = default;

bool SettingsStore::exists() const
{
    return true;
}

QString SettingsStore::reasonNotInForce() const
{
    return {};
}

QString SettingsStore::readFailure(const QString &told) const
{
    return SettingsStoreText::tr("%1 could not be read").arg(phrase()) + QLatin1Char('\n') + told;
}

QString SettingsStore::writeFailure(const QString &told) const
{
    // no word of what is in force now: a task may fail halfway
    return SettingsStoreText::tr("%1 could not be changed").arg(phrase()) + QLatin1Char('\n') + told;
}
