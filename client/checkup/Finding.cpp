// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/checkup/Finding.h"

#include "client/Translation.h"

#include <QFile>

Finding Finding::good(const QString &text)
{
    return {Grade::Good, text, QString()};
}

Finding Finding::note(const QString &text, const QString &remedy)
{
    return {Grade::Note, text, remedy};
}

Finding Finding::wrong(const QString &text, const QString &remedy)
{
    return {Grade::Wrong, text, remedy};
}

Finding Finding::ofFile(const QString &path, const QString &what, const QString &remedy)
{
    return QFile::exists(path) ? good(translate("Finding", "%1: %2").arg(what, path))
                               : wrong(translate("Finding", "%1 is missing: %2").arg(what, path), remedy);
}
