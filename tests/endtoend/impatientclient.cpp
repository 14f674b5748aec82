// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client's "set POLICY KEY=VALUE...", but for how long it waits, which comes first on the command line, in ms: for
// the answer, and for a person at the prompt.

#include "client/changes/Change.h"
#include "client/settings/Assignments.h"
#include "client/stores/PolicyAccess.h"
#include "client/stores/PolicyStore.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const Policy *policy = findPolicy(words.value(3));
    if (!policy) {
        return 2;
    }
    PolicyAccess access(true);
    PolicyStore store(*policy, &access, {words.at(1).toInt(), words.at(2).toInt()});
    Wishes wishes;
    if (!parseAssignments(store.schema(), store.phrase(), words.mid(4), &wishes).isEmpty()) {
        return 2;
    }
    const Reading before = store.read();
    return static_cast<int>(
        performChange({&store, before, fulfilled(store.schema(), before.settings, wishes), QStringLiteral("set")}, {}));
}
