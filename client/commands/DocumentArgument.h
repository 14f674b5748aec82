// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/commands/ClientCommand.h"
#include "client/settings/Setting.h"

#include <QMap>

/// The one argument of the commands that take a document.
QList<Argument> documentArguments();

/**
 * Reads the document that the command line names.
 *
 * @param policies receives its wishes by the names of policies
 * @return Done; otherwise what is wrong has been printed
 */
ExitCode readDocumentArgument(const QCommandLineParser &line, QMap<QString, Wishes> *policies);

/// Prints what is wrong with the document that the command line names.
ExitCode documentError(const QCommandLineParser &line, const QString &wrong);
