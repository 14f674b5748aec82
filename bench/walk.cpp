// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What other tools do in the comparison, as a read does it: prints the settings in a file. walk ageing|lockout FILE

#include "engine/FileReading.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include <QTextStream>

#include <cstring>
#include <memory>

namespace
{
std::unique_ptr<RegExpHandler> handlerFor(const char *settings, QVariantMap *values)
{
    if (std::strcmp(settings, "lockout") == 0) {
        return std::make_unique<LocalPolicyLockoutReadTask::LoginReaderRegExpHandler>(values);
    }
    return std::make_unique<LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler>(values);
}
}

int main(int argc, char *argv[])
{
    if (argc != 3) {
        return 2;
    }
    QVariantMap values;
    const std::unique_ptr<RegExpHandler> handler = handlerFor(argv[1], &values);
    QString error;
    if (!readFile(QString::fromLocal8Bit(argv[2]), handler.get(), &error)) {
        return 1;
    }
    QTextStream out(stdout);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        out << it.key() << '=' << it->toString() << '\n';
    }
    return 0;
}
