// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/PamCases.h"

#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"

#include <QDate>
#include <QDir>
#include <QFile>

#include <limits>

namespace
{
constexpr int leastInt = std::numeric_limits<int>::min();

void setPlainFile()
{
    QFile::setPermissions(PamSystem::tool(), QFile::ReadOwner | QFile::WriteOwner);
}

void setFolder()
{
    QFile::remove(PamSystem::tool());
    QDir().mkdir(PamSystem::tool());
}
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
        {"negative double rounded up", -2.5, true, -2},
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

QVector<ToolFault> toolFaults()
{
    return {
        {"missing",
         [] {
             QFile::remove(PamSystem::tool());
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Error: execvp: No such file or directory.\n\"Not started\"")},
        {"not executable",
         setPlainFile,
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Error: execvp: Permission denied.\n\"Not started\"")},
        {"interpreter missing",
         [] {
             writeProgram(PamSystem::tool(), "#!/nowhere/sh\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Error: execvp: No such file or directory.\n\"Not started\"")},
        {"a folder",
         setFolder,
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Error: execvp: Permission denied.\n\"Not started\"")},
        {"killed by a signal",
         [] {
             PamSystem::setToolScript("echo broken >&2\nkill -SEGV $$\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Error: Process crashed.\n\"Not finished\"")},
        {"exit code without text",
         [] {
             PamSystem::setToolScript("exit 7\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 7.\n\"\"")},
        {"exit code with text and line end",
         [] {
             PamSystem::setToolScript("echo output\necho broken >&2\nexit 7\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 7.\n\"broken\n\"")},
        {"exit code with text without line end",
         [] {
             PamSystem::setToolScript("printf broken >&2\nexit 1\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n\"broken\"")},
        {"exit code with blanks around the text",
         [] {
             PamSystem::setToolScript("printf ' \\n broken \\n\\n' >&2\nexit 255\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                        "Exit code: 255.\n\" \n broken \n\n\"")},
        {"exit code with placeholders in the text",
         [] {
             PamSystem::setToolScript("echo '%1 %3 %4' >&2\nexit 2\n");
         },
         QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 2.\n\"")
             + QStringLiteral("%1 %3 %4\n\"")},
    };
}
