// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicy.h"

#include <QStringList>

#include <algorithm>

namespace
{
/// Behind a module's file name: white space and an option, over and over.
QString optionsPattern()
{
    return QStringLiteral(R"(((?:\s+\S+)*))");
}
}

QString PamProfile::path() const
{
    return root + pamProfilesFolder() + QLatin1Char('/') + name;
}

QString PamPolicy::readingPattern() const
{
    return QLatin1String("(?:.*") + modulePattern() + QLatin1Char(')') + optionsPattern();
}

QString PamPolicy::rewritingPattern() const
{
    return QLatin1Char('(') + rewritingStart + modulePattern() + QLatin1Char(')') + optionsPattern();
}

QString PamPolicy::optionPattern() const
{
    QVector<PamOption> inReadingOrder = options;
    std::sort(inReadingOrder.begin(), inReadingOrder.end(), [](const PamOption &one, const PamOption &other) {
        return one.readingPlace < other.readingPlace;
    });
    QStringList names;
    for (const PamOption &managed : std::as_const(inReadingOrder)) {
        names += managed.name;
    }
    return QStringLiteral("(%1)=?(%2)?").arg(names.join(QLatin1Char('|')), number);
}

QString PamPolicy::modulePattern() const
{
    QStringList modules;
    for (const PamProfile &profile : profiles) {
        modules += profile.module;
    }
    const QString any = modules.join(QLatin1Char('|'));
    return (modules.size() == 1 ? any : QStringLiteral("(%1)").arg(any)) + QLatin1String("\\.so");
}

SearchHint PamPolicy::hint() const
{
    QList<QByteArray> fileNames;
    for (const PamProfile &profile : profiles) {
        fileNames += profile.module.toLatin1() + ".so";
    }
    return SearchHint(fileNames);
}

PamPolicy PamPolicy::below(const QString &root) const
{
    PamPolicy copy = *this;
    copy.stack.prepend(root);
    for (PamProfile &profile : copy.profiles) {
        profile.root = root;
    }
    return copy;
}

const PamOption *PamPolicy::option(const QString &name) const
{
    for (const PamOption &managed : options) {
        if (managed.name == name) {
            return &managed;
        }
    }
    return nullptr;
}

QString pamProfilesFolder()
{
    return QStringLiteral("/usr/share/pam-configs");
}
