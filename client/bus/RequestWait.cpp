// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/RequestWait.h"

#include "client/Translation.h"
#include "client/bus/TerminalPrompt.h"

#include <QEventLoop>

#include <utility>

HelperReply waitFor(HelperRequest *request)
{
    HelperReply reply;
    QEventLoop loop;
    QObject::connect(request, &HelperRequest::finished, &loop, [result = &reply, end = &loop](const HelperReply &came) {
        *result = came;
        end->quit();
    });
    request->start();
    loop.exec();
    return reply;
}

HelperReply ask(HelperCall call, bool mayAsk, HelperLimits limits)
{
    TerminalPrompt prompt(mayAsk, translate("RequestWait", "waiting for the helper…"));
    HelperRequest request(std::move(call), &prompt, limits);
    return waitFor(&request);
}
