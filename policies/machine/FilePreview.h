// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArrayList>
#include <QString>

/// A file as it is and as a write would leave it.
struct FilePreview {
    QString path;
    QByteArray before;
    QByteArray after;
    /// What an administrator has put there and would be gone, in the order of the file.
    QByteArrayList lost;
};
