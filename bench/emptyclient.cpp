// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A KAuth client that makes three actions that do nothing: what a client costs that makes three actions.

#include <KAuth/Action>
#include <KAuth/ExecuteJob>

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    for (int i = 0; i < 3; ++i) {
        KAuth::Action action(QStringLiteral(EMPTY_HELPER_ID ".nothing"));
        action.setHelperId(QStringLiteral(EMPTY_HELPER_ID));
        if (!action.execute()->exec()) {
            return 1;
        }
    }
    return 0;
}
