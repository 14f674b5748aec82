// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyStore.h"

#include "client/system/PamFiles.h"

PolicyStore::PolicyStore(const Policy &policy, bool mayAsk, HelperLimits limits)
    : m_policy(policy), m_mayAsk(mayAsk), m_limits(limits)
{
}

StoreName PolicyStore::name() const
{
    return {StoreName::Kind::Policy, m_policy.name};
}

QString PolicyStore::phrase() const
{
    return m_policy.phrase();
}

const SettingSchema &PolicyStore::schema() const
{
    return m_policy.schema;
}

Reading PolicyStore::read()
{
    HelperRequest request(HelperRequest::Kind::Read, QLatin1String(m_policy.readAction), {}, m_mayAsk, m_limits);
    HelperReply reply = request.execute();
    if (reply.taskFailed) {
        reply.outcome.error = readFailure(reply.outcome.error);
    }
    return {reply.outcome, normalized(m_policy.schema, reply.values)};
}

Outcome PolicyStore::write(const Settings &settings)
{
    HelperRequest request(
        HelperRequest::Kind::Write, QLatin1String(m_policy.writeAction), settings, m_mayAsk, m_limits);
    HelperReply reply = request.execute();
    if (reply.taskFailed) {
        reply.outcome.error = writeFailure(reply.outcome.error);
    }
    return reply.outcome;
}

QString PolicyStore::reasonNotInForce() const
{
    const PamFiles *files = pamFilesOf(m_policy.name);
    return files ? reasonNotInStack(*files) : QString();
}
