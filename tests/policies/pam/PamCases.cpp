// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/PamCases.h"

#include "tests/policies/pam/PamSystem.h"
#include <QDate>

#include <cstdlib>
#include <limits>

namespace
{
constexpr int leastInt = std::numeric_limits<int>::min();
}

QVector<ArgumentCase> argumentCases()
{
    return {
        {"bool true", true, true, 1},
        {"bool false", false, false, 0},
        {"int", 7, true, 7},
        {"int zero", 0, false, 0},
        {"negative int", -3, true, -3},
        {"least int", leastInt, true, leastInt},
        {"uint", 5U, true, 5},
        {"uint beyond int", 4294967295U, true, -1},
        {"qlonglong", qlonglong(12), true, 12},
        {"qlonglong beyond 32 bits", qlonglong(3000000000), true, -1294967296},
        {"qlonglong with no bit among the lowest 32", qlonglong(4294967296), true, 0},
        {"qulonglong", qulonglong(5), true, 5},
        {"double", 2.4, true, 2},
        {"double rounded up", 2.5, true, 3},
        {"negative double between two numbers", -2.5, true, QT_VERSION_MAJOR == 5 ? -2 : -3},
        {"negative double rounded down", -2.6, true, -3},
        {"double rounded to zero", 0.4, false, 0},
        {"double zero", 0.0, false, 0},
        {"double beyond 32 bits", 1e10, true, 1410065408},
        {"text true", QStringLiteral("true"), true, 0},
        {"text false", QStringLiteral("false"), false, 0},
        {"text false in capitals", QStringLiteral("FALSE"), false, 0},
        {"text zero", QStringLiteral("0"), false, 0},
        {"text two zeros", QStringLiteral("00"), true, 0},
        {"text number", QStringLiteral("12"), true, 12},
        {"text negative number", QStringLiteral("-12"), true, -12},
        {"text number with blanks", QStringLiteral(" 7 "), true, 7},
        {"text fraction", QStringLiteral("2.5"), true, 0},
        {"text number beyond 32 bits", QStringLiteral("3000000000"), true, -1294967296},
        {"text number beyond 64 bits", QStringLiteral("99999999999999999999"), true, 0},
        {"text without number", QStringLiteral("abc"), true, 0},
        {"text with placeholders", QStringLiteral("%1 %2"), true, 0},
        {"text with option", QStringLiteral("5 nullok\nauth"), true, 0},
        {"empty text", QString(QLatin1String("")), false, 0},
        {"bytes number", QByteArray("12"), true, 12},
        {"bytes false", QByteArray("false"), false, 0},
        {"bytes without number", QByteArray("abc"), true, 0},
        {"list of texts", QStringList{QStringLiteral("1")}, false, 0},
        {"list", QVariantList{5}, false, 0},
        {"date", QDate(2026, 1, 1), false, 0},
        {"map", QVariantMap{{QStringLiteral("deny"), 5}, {QStringLiteral("minlen"), 5}}, false, 0},
        {"invalid", QVariant(), false, 0},
    };
}

void ToolFault::prepare() const
{
    PamSystem::setToolScript(script);
    if (command && std::system(command) != 0) {
        qFatal("cannot do: %s", command);
    }
}

QVector<ToolFault> toolFaults()
{
    const char *missing = "Error: execvp: No such file or directory.\n\"Not started\"";
    const char *denied = "Error: execvp: Permission denied.\n\"Not started\"";
    const char *crashed = "Error: Process crashed.\n\"Not finished\"";
    // clang-format off
    return {
        {"missing", "rm /usr/sbin/pam-auth-update", "", missing},
        {"not executable", "chmod 600 /usr/sbin/pam-auth-update", "", denied},
        {"interpreter missing", "echo '#!/nowhere/sh' > /usr/sbin/pam-auth-update", "", missing},
        {"a folder", "cd /usr/sbin && rm pam-auth-update && mkdir pam-auth-update", "", denied},
        {"killed by a signal", nullptr, "echo broken >&2; kill -SEGV $$\n", crashed},
        {"exit code", nullptr, "exit 7\n", "Exit code: 7.\n\"\""},
        {"text with line end", nullptr, "echo output; echo broken >&2; exit 7\n", "Exit code: 7.\n\"broken\n\""},
        {"text without line end", nullptr, "printf broken >&2; exit 1\n", "Exit code: 1.\n\"broken\""},
        {"blanks", nullptr, "printf ' \\n broken \\n\\n' >&2; exit 255\n", "Exit code: 255.\n\" \n broken \n\n\""},
        {"placeholders", nullptr, "echo '%1 %2 %3 %4 %5' >&2; exit 2\n", "Exit code: 2.\n\"%1 %2 %3 %4 %5\n\""},
    };
    // clang-format on
}
