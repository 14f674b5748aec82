// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyReader.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "client/stores/ModuleStore.h"
#include "client/stores/PolicyAccess.h"
#include "client/stores/PolicyStore.h"

PolicyReader::PolicyReader(PolicyAccess *access) : m_access(access)
{
}

Reading PolicyReader::read(const Policy &policy)
{
    if (policy.isOfModule()) {
        return ModuleStore(policy, m_access).read();
    }
    const PolicyStore store(policy, m_access);
    if (m_withoutHelper || m_access->isLocal()) {
        return store.readHere();
    }
    QString hindrance;
    Reading reading = store.readSoon(&hindrance);
    if (hindrance.isEmpty()) {
        return reading;
    }
    m_withoutHelper = true;
    printError(translate("PolicyReader", "%1; the policies are read without it").arg(hindrance));
    return store.readHere();
}
