// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperAbsence.h"

class QString;

/**
 * How a command comes to the machine's policies: through the helper, for those of modules through the service or, which root
 * alone may, in this process. All stores of one command share it.
 */
class PolicyAccess
{
public:
    enum class Way { Helper, Local };

    /**
     * @param mayAsk   whether a password may be asked for on the terminal
     * @param mayForce whether stacks may be made anew that were edited by hand
     */
    explicit PolicyAccess(bool mayAsk, Way way = Way::Helper, bool mayForce = false);

    bool mayAsk() const;
    bool isLocal() const;
    bool mayForce() const;
    /// Whether there is no way: no helper, and this process isn't root's.
    bool isBarred() const;
    /// Whether the modules' policies are come to in this process.
    bool isWithoutService() const;

    /// Notes that there is no helper. Root goes on in this process, which is said in one line on the standard error.
    void loseHelper(HelperAbsence absence);

    /// What to do about it where the way is barred, one line.
    QString advice() const;

    /// Notes that there is no service. Root goes on in this process, and can do there all that the service does.
    void loseService(HelperAbsence absence);

    /// Whether there is no way to what others than root need the service for.
    bool isServiceBarred() const;
    /// As advice(), about that.
    QString serviceAdvice() const;

private:
    bool m_mayAsk;
    /// The helper's absence is not the service's.
    bool m_isTypedLocal;
    Way m_way;
    bool m_mayForce;
    HelperAbsence m_absence = HelperAbsence::None;
    HelperAbsence m_serviceAbsence = HelperAbsence::None;
};
