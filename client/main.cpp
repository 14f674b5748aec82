// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CommandLine.h"

#include <QCoreApplication>
#include <QLocale>
#include <QLoggingCategory>
#include <QTranslator>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(VERSION));
    // what KAuth has to say of a failure is part of the error that the user gets
    QLoggingCategory::setFilterRules(QStringLiteral("kf.auth*=false"));
    QTranslator translator;
    if (translator.load(
            QLocale(), QStringLiteral("accountpolicyctl"), QStringLiteral("_"), QStringLiteral(TRANSLATIONS))) {
        QCoreApplication::installTranslator(&translator);
    }
    return static_cast<int>(runCommandLine(QCoreApplication::arguments()));
}
