// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/AccountPoliciesHelper.h"

#include "helper/ReplyBuilder.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

namespace
{
ActionReply replyOf(AbstractTask *task)
{
    ActionReply reply;
    reply.setData(buildReply(task));
    return reply;
}

template<typename Task>
ActionReply read()
{
    Task task(nullptr);
    return replyOf(&task);
}

template<typename Task>
ActionReply update(const QVariantMap &args)
{
    Task task(nullptr, new QVariantMap(args));
    return replyOf(&task);
}
}

ActionReply AccountPoliciesHelper::readaccountslockoutpolicy(const QVariantMap &args)
{
    Q_UNUSED(args)
    return read<LocalPolicyLockoutReadTask>();
}

ActionReply AccountPoliciesHelper::writeaccountslockoutpolicy(const QVariantMap &args)
{
    return update<LocalPolicyLockoutUpdateTask>(args);
}

ActionReply AccountPoliciesHelper::readpasswordcomplexitypolicy(const QVariantMap &args)
{
    Q_UNUSED(args)
    return read<LocalPolicyPasswordComplexityReadTask>();
}

ActionReply AccountPoliciesHelper::writepasswordcomplexitypolicy(const QVariantMap &args)
{
    return update<LocalPolicyPasswordComplexityUpdateTask>(args);
}

ActionReply AccountPoliciesHelper::readpasswordexpirationpolicy(const QVariantMap &args)
{
    Q_UNUSED(args)
    return read<LocalPolicyPasswordExpirationReadTask>();
}

ActionReply AccountPoliciesHelper::writepasswordexpirationpolicy(const QVariantMap &args)
{
    return update<LocalPolicyPasswordExpirationUpdateTask>(args);
}
