// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/PolkitRule.h"

#include "tests/support/Files.h"

#include <QFile>

namespace
{
QString ruleFile()
{
    return QStringLiteral("/etc/polkit-1/rules.d/10-test.rules");
}
}

PolkitRule::PolkitRule(const QByteArray &actions, const QByteArray &account, const QByteArray &result, int seconds)
{
    writeContent(ruleFile(),
                 "polkit.addRule(function(action, subject) {\n"
                 "    if (action.id.indexOf(\""
                     + actions + "\") >= 0 && subject.user == \"" + account
                     + "\") {\n"
                       "        polkit.spawn([\"sleep\", \""
                     + QByteArray::number(seconds)
                     + "\"]);\n"
                       "        return polkit.Result."
                     + result + ";\n    }\n});\n");
}

PolkitRule::~PolkitRule()
{
    QFile::remove(ruleFile());
}
