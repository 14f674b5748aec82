// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QVariantList>

/// What comes of a request: what its method returns, or an error.
struct Answer {
    QVariantList values;
    /// The last part of the error's name; empty if there is none.
    QString error;
    QString errorText;
    /// The policy that has changed, whatever else came of it; empty if none has.
    QString changedPolicy;

    static Answer of(const QVariant &value);
    static Answer failure(const char *error, const QString &text);
};

// the last parts of the errors' names; accountpoliciesd(8) tells what each means
inline constexpr char unknownPolicyError[] = "UnknownPolicy";
inline constexpr char unknownSettingError[] = "UnknownSetting";
inline constexpr char invalidValueError[] = "InvalidValue";
inline constexpr char invalidOptionError[] = "InvalidOption";
inline constexpr char unknownAccountError[] = "UnknownAccount";
inline constexpr char notAuthorizedError[] = "NotAuthorized";
inline constexpr char interactionError[] = "InteractiveAuthorizationRequired";
inline constexpr char authorizationFailedError[] = "AuthorizationFailed";
inline constexpr char privateFileError[] = "PrivateFile";
inline constexpr char rootOnlyError[] = "RootOnly";
inline constexpr char locksRootError[] = "LocksRoot";
inline constexpr char tooManyRequestsError[] = "TooManyRequests";
inline constexpr char stacksEditedError[] = "StacksEdited";
inline constexpr char rolledBackError[] = "RolledBack";
inline constexpr char busyError[] = "Busy";
inline constexpr char failedError[] = "Failed";
