// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/preview/Preview.h"

#include <QJsonArray>
#include <QMap>
#include <QString>

// What a preview found, in the forms in which it is told.

/// The unified diffs of all files, one below the other.
QString diffsText(const Preview &preview);

/// An object for each file: its "path", the "diff" of it, and the lines that would be "lost".
QJsonArray filesToJson(const Preview &preview);

/// Each line that would be lost, behind the path of its file.
QString lostLinesText(const Preview &preview);

/// By the path of each file that would lose something, the unified diff of it with all of its lines.
QMap<QString, QString> lostTexts(const Preview &preview);
