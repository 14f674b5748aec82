// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// loadclient POLICY|write COUNT
// Makes so many actions as accountpolicyctl makes them, one behind the other, and ends with 1 at the first wrong reply.
// A policy is read. "write" writes the ageing of passwords, three numbers in a row, so that any mixture would show.

#include "client/Outcome.h"
#include "client/stores/PolicyAccess.h"
#include "client/stores/PolicyStore.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{
const QStringList &ageing()
{
    static const QStringList keys{
        QStringLiteral("maxInterval"), QStringLiteral("minInterval"), QStringLiteral("warningInterval")};
    return keys;
}

Settings threeInARow(int first)
{
    Settings settings;
    for (int i = 0; i < ageing().size(); ++i) {
        settings.insert(ageing().at(i), first + i);
    }
    return settings;
}

bool isRight(const QString &policy, const Reading &reading)
{
    if (!reading.outcome.succeeded()) {
        return false;
    }
    if (policy != QLatin1String("expiration")) {
        // what is there is of this policy; another's reply would have none of it
        return reading.settings.value(policy == QLatin1String("lockout") ? QStringLiteral("deny")
                                                                         : QStringLiteral("minlen"))
            == QVariant(7);
    }
    const Settings expected = threeInARow(reading.settings.value(ageing().constFirst()).toInt());
    for (const QString &key : ageing()) {
        if (reading.settings.value(key) != expected.value(key)) {
            return false;
        }
    }
    return true;
}
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const QString what = words.value(1);
    const int count = words.value(2).toInt();
    const bool writes = what == QLatin1String("write");
    PolicyAccess access(false);
    PolicyStore store(*findPolicy(writes ? QStringLiteral("expiration") : what), &access);
    for (int i = 0; i < count; ++i) {
        if (writes) {
            const Outcome written = store.write(threeInARow(i));
            if (!written.succeeded()) {
                std::fprintf(stderr, "write %d: %s\n", i, qPrintable(written.error));
                return 1;
            }
            continue;
        }
        const Reading reading = store.read();
        if (!isRight(what, reading)) {
            std::fprintf(stderr, "%s %d: %s\n", qPrintable(what), i, qPrintable(reading.outcome.error));
            return 1;
        }
    }
    return 0;
}
