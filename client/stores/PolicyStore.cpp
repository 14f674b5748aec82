// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyStore.h"

#include "client/bus/PolicyRead.h"
#include "client/bus/RequestWait.h"
#include "client/effective/PolicyInForce.h"
#include "client/stores/TaskOutcome.h"
#include "client/system/PamFiles.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"

namespace
{
template<typename Task>
std::unique_ptr<AbstractTask> makeTask()
{
    return std::make_unique<Task>(nullptr);
}

/// What the helper runs for the policy's action.
std::unique_ptr<AbstractTask> makeReadTask(const QString &policy)
{
    static const QMap<QString, std::unique_ptr<AbstractTask> (*)()> makers{
        {QStringLiteral("lockout"), makeTask<LocalPolicyLockoutReadTask>},
        {QStringLiteral("complexity"), makeTask<LocalPolicyPasswordComplexityReadTask>},
        {QStringLiteral("expiration"), makeTask<LocalPolicyPasswordExpirationReadTask>},
    };
    return makers.value(policy)();
}
}

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
    return readingOf(askForReading(readCall(), m_mayAsk, m_limits));
}

Reading PolicyStore::readSoon(QString *hindrance) const
{
    const HelperReply reply = askForReadingSoon(readCall(), m_mayAsk);
    *hindrance = reply.unavailable;
    return readingOf(reply);
}

Reading PolicyStore::readHere() const
{
    const std::unique_ptr<AbstractTask> task = makeReadTask(m_policy.name);
    HelperReply reply;
    reply.outcome = outcomeOf(task.get());
    reply.taskFailed = !reply.outcome.succeeded();
    reply.values = *task->values();
    return readingOf(reply);
}

Outcome PolicyStore::write(const Settings &settings)
{
    const PamFiles *files = pamFilesOf(m_policy.name);
    const QByteArrayList before = files ? profileContents(*files) : QByteArrayList();
    HelperReply reply =
        ask(HelperCall(HelperCall::Kind::Write, QLatin1String(m_policy.writeAction), settings), m_mayAsk, m_limits);
    if (reply.taskFailed) {
        reply.outcome.error = writeFailure(reply.outcome.error);
    }
    // a helper that is busy, or refuses, has begun nothing; others may write the profiles meanwhile
    const bool hasBegun = reply.taskFailed || reply.outcome.code == ExitCode::Failed;
    if (files && hasBegun && profileContents(*files) != before) {
        reply.outcome.filesChanged = true;
        reply.outcome.error += QLatin1Char('\n') + changedProfileText(*files);
    }
    return reply.outcome;
}

InForce PolicyStore::inForce(const Settings &read) const
{
    return inForceOf(m_policy, read);
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

HelperCall PolicyStore::readCall() const
{
    return {HelperCall::Kind::Read, QLatin1String(m_policy.readAction), {}};
}

Reading PolicyStore::readingOf(const HelperReply &reply) const
{
    Reading reading{reply.outcome, normalized(m_policy.schema, reply.values)};
    if (reply.taskFailed) {
        reading.outcome.error = readFailure(reply.outcome.error);
    }
    return reading;
}
