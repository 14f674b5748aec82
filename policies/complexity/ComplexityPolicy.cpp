// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/ComplexityPolicy.h"

#include <QCoreApplication>

const PamPolicy &complexityPolicy()
{
    using Kind = PamOption::Kind;
    static const PamPolicy policy{
        QStringLiteral("/etc/pam.d/common-password"),
        {
            {QStringLiteral("cracklib"),
             QStringLiteral("pam_cracklib"),
             QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask", "\"%1\" not contain \"pam_cracklib\"")},
            {QStringLiteral("pwquality"),
             QStringLiteral("pam_pwquality"),
             QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask", "\"%1\" not contain \"pam_pwquality\"")},
        },
        QStringLiteral(".*"), // before the modules, when rewriting
        QStringLiteral(R"(-?\d+)"), // a number, when reading
        {
            {QStringLiteral("gecoscheck"), Kind::Flag, 2},
            {QStringLiteral("enforce_for_root"), Kind::Flag, 3},
            {QStringLiteral("reject_username"), Kind::Flag, 1},
            {QStringLiteral("minlen"), Kind::Number, 4},
            {QStringLiteral("lcredit"), Kind::Number, 5},
            {QStringLiteral("ucredit"), Kind::Number, 6},
            {QStringLiteral("dcredit"), Kind::Number, 7},
            {QStringLiteral("ocredit"), Kind::Number, 8},
        },
        QStringLiteral("minlen"), // corrected in the stack
        // both names inside one pair of quotes: meant so
        QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityReadTask",
                          "\"%1\" not contain \"pam_cracklib or pam_pwquality\""),
        false, // may not be unset
        QT_TRANSLATE_NOOP("LocalPolicyPasswordComplexityUpdateTask",
                          "Both profiles of supported PAM modules do not exist (%1, %2)"),
    };
    return policy;
}
