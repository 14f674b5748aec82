// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What sed does in the comparison: prints the ageing settings of a file in the format of login.defs(5).

#include "engine/FileReading.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"

#include <QTextStream>

int main(int argc, char *argv[])
{
    if (argc != 2) {
        return 2;
    }
    QVariantMap values;
    LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler handler(&values);
    QString error;
    if (!readFile(QString::fromLocal8Bit(argv[1]), &handler, &error)) {
        return 1;
    }
    QTextStream out(stdout);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        out << it.key() << '=' << it->toString() << '\n';
    }
    return 0;
}
