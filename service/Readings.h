// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Answer.h"
#include "service/Caller.h"
#include "service/PathWatch.h"

#include <QMap>

#include <optional>

struct ModulePolicy;

/// The answers to reads of policies, each remembered for as long as nothing is different where it was read.
class Readings
{
public:
    /// What stands there now, if it is known without reading, and everybody may know it.
    std::optional<Answer> remembered(const ModulePolicy &policy);
    /// What stands there now, or a refusal where others than root may not read it.
    Answer answerFor(const ModulePolicy &policy, const Caller &caller);

private:
    PathWatch m_watch;
    QMap<QString, Answer> m_remembered;
};
