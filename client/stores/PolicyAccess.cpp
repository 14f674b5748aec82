// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyAccess.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"

#include <unistd.h>

namespace
{
QString noteOfRoot(HelperAbsence absence)
{
    return absence == HelperAbsence::NoBus
        ? translate("PolicyAccess",
                    "the system bus cannot be reached; root reads and changes the policies without the helper")
        : translate("PolicyAccess", "the helper is not installed; root reads and changes the policies without it");
}

QString busAdvice()
{
    return translate("PolicyAccess", "the system bus cannot be reached; install and start dbus, or try sudo");
}
}

PolicyAccess::PolicyAccess(bool mayAsk, Way way, bool mayForce)
    : m_mayAsk(mayAsk), m_isTypedLocal(way == Way::Local), m_way(way), m_mayForce(mayForce)
{
}

bool PolicyAccess::mayAsk() const
{
    return m_mayAsk;
}

bool PolicyAccess::isLocal() const
{
    return m_way == Way::Local;
}

bool PolicyAccess::mayForce() const
{
    return m_mayForce;
}

bool PolicyAccess::isBarred() const
{
    return m_absence != HelperAbsence::None && !isLocal();
}

void PolicyAccess::loseHelper(HelperAbsence absence)
{
    m_absence = absence;
    if (geteuid() == 0) {
        m_way = Way::Local;
        printError(noteOfRoot(absence));
    }
}

QString PolicyAccess::advice() const
{
    return m_absence == HelperAbsence::NoBus
        ? busAdvice()
        : translate("PolicyAccess", "the helper is not installed; apt install accountpolicies-helper, or try sudo");
}

bool PolicyAccess::isWithoutService() const
{
    return m_isTypedLocal || m_serviceAbsence != HelperAbsence::None;
}

void PolicyAccess::loseService(HelperAbsence absence)
{
    m_serviceAbsence = absence;
}

bool PolicyAccess::isServiceBarred() const
{
    return m_serviceAbsence != HelperAbsence::None && geteuid() != 0;
}

QString PolicyAccess::serviceAdvice() const
{
    return m_serviceAbsence == HelperAbsence::NoBus
        ? busAdvice()
        : translate("PolicyAccess", "the service is not installed; apt install accountpolicies-service, or try sudo");
}
