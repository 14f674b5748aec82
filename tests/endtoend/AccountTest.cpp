// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client at the settings of one account: AccountTest.answers.

#include "tests/endtoend/Sessions.h"

#include <QTest>

class AccountTest : public Sessions
{
    Q_OBJECT
};

QTEST_GUILESS_MAIN(AccountTest)
#include "AccountTest.moc"
