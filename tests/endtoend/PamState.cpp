// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/PamState.h"

#include "tests/support/Files.h"

#include <QDir>
#include <QFile>

namespace
{
QStringList stateFiles()
{
    // by debconf pam-auth-update knows which profiles were switched on
    QStringList paths{QStringLiteral("/var/cache/debconf/config.dat")};
    for (const QString &folder : {QStringLiteral("/etc/pam.d"),
                                  QStringLiteral("/var/lib/pam"),
                                  QStringLiteral("/usr/share/pam-configs"),
                                  QStringLiteral("/etc/security"),
                                  QStringLiteral("/etc/security/pwquality.conf.d")}) {
        for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden)) {
            paths += file.filePath();
        }
    }
    return paths;
}
}

PamState::PamState()
{
    for (const QString &path : stateFiles()) {
        m_contents.insert(path, contentOf(path));
    }
}

void PamState::restore() const
{
    for (const QString &path : stateFiles()) {
        if (!m_contents.contains(path)) {
            QFile::remove(path);
        }
    }
    for (auto it = m_contents.cbegin(); it != m_contents.cend(); ++it) {
        writeContent(it.key(), it.value());
    }
}
