// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModulePolicy.h"

#include <QByteArrayList>
#include <QRandomGenerator>
#include <QVariantMap>

/// Makes up the files of PAM's modules, lines that call them, and values to write. The same seed makes the same ones.
class ModuleGenerator
{
public:
    explicit ModuleGenerator(quint32 seed);

    /// Settings in all spellings, comments, other settings, torn and odd lines.
    QByteArray file(const ModulePolicy &policy);
    /// Only lines that every reader of names and values takes alike, all ended.
    QByteArray plainFile(const ModulePolicy &policy);
    /// Of a line that calls the module: some of the policy's, in all spellings, and others.
    QStringList options(const ModulePolicy &policy);
    /// A stack of whole lines, as Debian's tools and people write them.
    QByteArray stack();
    /// Some or all of what may be written.
    QVariantMap values(const ModulePolicy &policy);

    /// Any of @p from to @p to.
    int number(int from, int to);
    bool oneOf(int chances);
    QByteArray anyOf(const QByteArrayList &texts);

private:
    QByteArray text(const ModuleSetting &setting);
    QByteArray spelling(const ModuleSetting &setting);
    QByteArray oddText(const ModuleSetting &setting);
    QByteArray anyLine(const ModulePolicy &policy);
    const ModuleSetting &anySetting(const ModulePolicy &policy);
    QVariant anyValue(const ModuleSetting &setting);

    QRandomGenerator m_random;
};
