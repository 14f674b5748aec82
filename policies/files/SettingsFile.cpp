// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/files/SettingsFile.h"

#include <QStringList>

namespace
{
QStringList namesIn(const SettingsFile &file)
{
    QStringList names;
    for (const FileSetting &setting : file.settings) {
        names += setting.name;
    }
    return names;
}
}

QString SettingsFile::pattern() const
{
    const QString names = namesIn(*this).join(QLatin1Char('|'));
    return QStringLiteral(R"(\s*(%1)%2(%3))").arg(names, separatorPattern, textPattern);
}

SearchHint SettingsFile::hint() const
{
    const QStringList names = namesIn(*this);
    QList<QByteArray> words;
    for (const QString &name : names) {
        words += name.toLatin1();
    }
    // no white space is given back, so that each is looked at once
    QString rest = separatorPattern + textPattern;
    rest.replace(QLatin1String("\\s*"), QLatin1String("\\s*+"));
    return SearchHint(words, QStringLiteral(R"((?<!\s)\s*+(?:%1)%2)").arg(names.join(QLatin1Char('|')), rest));
}
