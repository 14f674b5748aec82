// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bench/Inputs.h"

#include <QFile>

void writeInput(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QByteArray loginDefs(int lines)
{
    // all of them are lines that augtool's lens takes
    static const QByteArray kinds[] = {"# The maximum number of days a password may be used.\n",
                                       "\n",
                                       "UMASK\t\t022\n",
                                       "PASS_MAX_DAYS\t99999\n",
                                       "#PASS_MIN_DAYS 4\n",
                                       "ENCRYPT_METHOD SHA512\n",
                                       "LOGIN_RETRIES\t\t5 # tries\n",
                                       "UID_MIN    1000\n",
                                       "# Min/max values for automatic uid selection in useradd\n",
                                       "MAIL_DIR /var/mail\n"};
    QByteArray content;
    for (int i = 0; i < lines; ++i) {
        content += kinds[i % 10];
    }
    return content;
}

QString ageingScript()
{
    return QStringLiteral(
        "s/^([^#]*[[:space:]])?(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)[[:space:]]*(-?[0-9]+).*/\\2=\\3/p");
}
