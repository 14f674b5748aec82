// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/PamLosses.h"

#include "client/preview/Losses.h"
#include "client/system/PamFiles.h"
#include "policies/machine/MachineCopy.h"

#include <algorithm>

namespace
{
QString stacksFolder()
{
    return QStringLiteral("/etc/pam.d");
}

QString recordsFolder()
{
    return QStringLiteral("/var/lib/pam");
}

QString stacksStart()
{
    return QStringLiteral("common-");
}

/// Without what the tool keeps beside them: "common-auth.pam-old".
QStringList stacksIn(const MachineCopy &copy)
{
    const QString start = stacksFolder() + QLatin1Char('/') + stacksStart();
    QStringList stacks = copy.files(stacksFolder());
    const auto isOther = [&start](const QString &path) {
        return !path.startsWith(start) || path.indexOf(QLatin1Char('.'), start.size()) != -1;
    };
    stacks.erase(std::remove_if(stacks.begin(), stacks.end(), isOther), stacks.end());
    return stacks;
}

QByteArrayList lostInStack(const PamPolicy &policy, const MachineCopy &copy, const FilePreview &stack)
{
    const QString name = stack.path.section(QLatin1String("/common-"), -1);
    return lostLines(policy,
                     {name.section(QLatin1Char('-'), 0, 0).toLatin1(), // "session" for "session-noninteractive", too
                      stack.before,
                      stack.after,
                      copy.taken(recordsFolder() + QLatin1Char('/') + name),
                      fileContent(QLatin1String("/usr/share/pam/common-") + name)});
}
}

void takeStacks(MachineCopy *copy)
{
    copy->takeFolder(stacksFolder(), stacksStart() + QLatin1Char('*'));
    copy->takeFolder(recordsFolder(), QStringLiteral("*"));
}

QVector<FilePreview> stackChanges(const PamPolicy &policy, const MachineCopy &copy)
{
    QVector<FilePreview> stacks = copy.changes(stacksIn(copy));
    for (FilePreview &stack : stacks) {
        stack.lost = lostInStack(policy, copy, stack);
    }
    return stacks;
}
