// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/machine/ModuleTrial.h"

#include <QDir>

ModuleTrial::ModuleTrial(const ModulePolicy &policy) : m_policy(policy)
{
    // the folder of the file, where it is there; a write makes that one and no more
    m_copy.takeFolder(QStringLiteral("/etc/security"), QFileInfo(policy.path).dir().dirName());
    m_copy.takeFile(policy.path);
    const QStringList folders = modulePolicyFolders();
    for (const QString &folder : folders) {
        m_copy.takeFolder(folder, QStringLiteral("*"));
    }
    m_copy.takeDebconf();
}

const MachineCopy &ModuleTrial::copy() const
{
    return m_copy;
}

ModuleOutcome ModuleTrial::write(const ModuleWish &wish) const
{
    const ModulePlace place{m_copy.root(), m_copy.onCopies(ModulePlace::pamAuthUpdateAlone())};
    ModuleOutcome outcome = writeModule(m_policy, wish, place);
    outcome.reason = m_copy.aboutMachine(outcome.reason);
    return outcome;
}
