// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyStore.h"

#include "client/bus/RequestWait.h"
#include "client/bus/TerminalPrompt.h"
#include "client/system/PamFiles.h"

#include <utility>

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
    HelperReply reply = replyTo(HelperCall(HelperCall::Kind::Read, QLatin1String(m_policy.readAction), {}));
    if (reply.taskFailed) {
        reply.outcome.error = readFailure(reply.outcome.error);
    }
    return {reply.outcome, normalized(m_policy.schema, reply.values)};
}

Outcome PolicyStore::write(const Settings &settings)
{
    HelperReply reply = replyTo(HelperCall(HelperCall::Kind::Write, QLatin1String(m_policy.writeAction), settings));
    if (reply.taskFailed) {
        reply.outcome.error = writeFailure(reply.outcome.error);
    }
    return reply.outcome;
}

QString PolicyStore::obstacle() const
{
    const PamFiles *files = pamFilesOf(m_policy.name);
    return files ? obstacleTo(*files) : QString();
}

Preview PolicyStore::preview(const Settings &settings) const
{
    Preview preview = previewOf(m_policy.name, settings);
    if (!preview.outcome.succeeded()) {
        preview.outcome.error = writeFailure(preview.outcome.error);
    }
    return preview;
}

QString PolicyStore::reasonNotInForce() const
{
    const PamFiles *files = pamFilesOf(m_policy.name);
    return files ? reasonNotInStack(*files) : QString();
}

HelperReply PolicyStore::replyTo(HelperCall call) const
{
    TerminalPrompt prompt(m_mayAsk);
    HelperRequest request(std::move(call), &prompt, m_limits);
    return waitFor(&request);
}
