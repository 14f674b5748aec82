// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <KAuth/ActionReply>

#include <QObject>
#include <QVariantMap>

// KAuth finds a slot only if its return type is written without a namespace
// clazy:excludeall=fully-qualified-moc-types
using KAuth::ActionReply;

/**
 * The six actions, one slot each, named after the actions.
 *
 * Every reply is of the success type: a failure shows in its data, under "error" (see buildReply()). A read ignores
 * its arguments; a write echoes them.
 */
class AccountPoliciesHelper : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    ActionReply readaccountslockoutpolicy(const QVariantMap &args);
    ActionReply writeaccountslockoutpolicy(const QVariantMap &args);
    ActionReply readpasswordcomplexitypolicy(const QVariantMap &args);
    ActionReply writepasswordcomplexitypolicy(const QVariantMap &args);
    ActionReply readpasswordexpirationpolicy(const QVariantMap &args);
    ActionReply writepasswordexpirationpolicy(const QVariantMap &args);
};
