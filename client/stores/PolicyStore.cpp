// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/PolicyStore.h"

#include "client/Translation.h"
#include "client/bus/PolicyRead.h"
#include "client/bus/RequestWait.h"
#include "client/effective/PolicyInForce.h"
#include "client/output/WaitingLine.h"
#include "client/stores/LocalTasks.h"
#include "client/stores/PolicyAccess.h"
#include "client/system/PamFiles.h"

PolicyStore::PolicyStore(const Policy &policy, PolicyAccess *access, HelperLimits limits)
    : m_policy(policy), m_access(access), m_limits(limits)
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
    if (m_access->isLocal()) {
        return readHere();
    }
    const HelperReply reply = askForReading(readCall(), m_access->mayAsk(), m_limits);
    if (reply.absence == HelperAbsence::None) {
        return readingOf(reply);
    }
    m_access->loseHelper(reply.absence);
    return m_access->isLocal() ? readHere() : Reading{{ExitCode::Failed, m_access->advice()}, {}};
}

bool PolicyStore::mayBeWritable() const
{
    return !m_access->isBarred();
}

Reading PolicyStore::readSoon(QString *hindrance) const
{
    const HelperReply reply = askForReadingSoon(readCall(), m_access->mayAsk());
    *hindrance = reply.unavailable;
    return readingOf(reply);
}

Reading PolicyStore::readHere() const
{
    return readingOf(readLocally(m_policy.name));
}

Outcome PolicyStore::write(const Settings &settings)
{
    const PamFiles *files = pamFilesOf(m_policy.name);
    const QByteArrayList before = files ? profileContents(*files) : QByteArrayList();
    HelperReply reply = send(settings);
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

HelperReply PolicyStore::send(const Settings &settings) const
{
    if (m_access->isLocal()) {
        const WaitingLine line(translate("PolicyStore", "waiting for the policy's tools…"));
        return writeLocally(m_policy.name, settings);
    }
    return ask({HelperCall::Kind::Write, QLatin1String(m_policy.writeAction), settings}, m_access->mayAsk(), m_limits);
}

Reading PolicyStore::readingOf(const HelperReply &reply) const
{
    Reading reading{reply.outcome, normalized(m_policy.schema, reply.values)};
    if (reply.taskFailed) {
        reading.outcome.error = readFailure(reply.outcome.error);
    }
    return reading;
}
