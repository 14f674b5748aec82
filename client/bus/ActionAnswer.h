// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QVariantMap>

#include <optional>

/// What KAuth answers in the helper's name, as the method performAction returns it.
struct ActionAnswer {
    /// KAuth::ActionReply::Error, as far as the client tells one from another.
    enum Error : qint32 { NoError = 0, AuthorizationDenied = 4, UserCancelled = 5, HelperBusy = 6 };

    qint32 error = NoError;
    QString description;
    /// What the helper's own code has answered.
    QVariantMap data;

    /**
     * Understands an answer: a data stream of a map, the error, who has found it, and its description.
     *
     * The values are plain ones, of the types that settings and messages have. Decoding one of another type may take any
     * amount of time and memory, which a client that runs as root gives to nobody.
     *
     * @return none if the bytes are no such answer
     */
    static std::optional<ActionAnswer> fromBytes(const QByteArray &bytes);
};
