// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/differential/FileGenerator.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"

#include <QDate>
#include <QFileInfo>

#include <iterator>

namespace
{
/// The words of one kind of file.
struct Vocabulary {
    QString path;
    QByteArray name;
    /// The settings, or the options of the module.
    QByteArrayList numbers;
    QByteArrayList flags;
    QByteArrayList modules;
    QByteArrayList separators;
    /// Settings or options that are none of the policy's, and look like them where that can be.
    QByteArrayList others;
    /// The same without any that holds a policy's name.
    QByteArrayList plainOthers;
    /// Arguments of a write that are numbers of days.
    QStringList days = {};
};

// clang-format off
constexpr const char *blanks[] = {" ", " ", "\t", "  ", "\t\t", " \t ", "\t   "};
/// White space for some, text for others: of ASCII, of Latin 1 and of Unicode, and what only looks like it.
constexpr const char *oddBlanks[] = {"\v", "\f", "\r", "\x1c", "\x1f", "\xc2\x85", "\xc2\xa0", "\xe1\x9a\x80",
    "\xe1\xa0\x8e", "\xe2\x80\x83", "\xe2\x80\x8b", "\xe2\x80\xa8", "\xe2\x80\xaf", "\xe2\x81\x9f", "\xe3\x80\x80",
    "\xef\xbb\xbf"};
constexpr const char *someBlanks[] = {"", "", "", " ", "\t", "   "};
constexpr const char *lineEnds[] = {"\n", "\n", "\n", "\n", "\n", "\r\n", " \n", "\t\r\n", "\n\n", "\r"};
constexpr const char *comments[] = {"", "", "", "", "# note", " # note", "\t#", "#PASS_MAX_DAYS 9",
    " # deny=9 # minlen=9 ", "#EXPIRE=2001-01-01", " # gr\xc3\xbcn\t", "## \xff"};
constexpr const char *oddNumbers[] = {"", "007", "-0", "-007", "+5", "-", "--5", "1.5", "1e3", "0x10", "5x", "x5",
    "\"5\"", "'5'", "5,6", "5;", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967297",
    "99999999999999999999", "\xd9\xa3", "3\xd9\xa3", "\xef\xbc\x95", "5\xff", "\xe2\x88\x92\x35",
    "\xf0\x9d\x9f\x93", "5\xf0\x9d\x9f\x93"};
constexpr const char *oddDates[] = {"", "-1", "never", "2025-1-1", "25-01-01", "2025-02-29", "2024-02-29",
    "1900-02-29", "2000-02-29", "1970-02-30", "2025-13-01", "2025-00-10", "2025-01-00", "20250101", "2025/01/01",
    "01-01-2025", "2025-01-01x", "x2025-01-01", "2025-01-01T00:00", "\"2025-01-01\"", "0000-01-01", "0001-01-01",
    "1582-10-10", "1969-12-31", "9999-12-31", "10000-01-01", "02025-01-01", "2025 -01-01", "2025-01-",
    "+2025-01-01", "-2025-01-01", "2025--1-01", "\xd9\xa2\xd9\xa0\xd9\xa2\xd9\xa5-01-01"};
constexpr const char *glue[] = {"", "", "", ".1", "x", ",", "=", ";", "\"", "/", "pam_tally.so", "\xff"};
constexpr const char *controls[] = {"required", "requisite", "sufficient", "optional",
    "[success=1 default=ignore]", "[success=ok new_authtok_reqd=ok ignore=ignore user_unknown=bad default=die]",
    "[default=bad]", "include"};
constexpr const char *types[] = {"auth", "password", "-auth", "-password", "account", "session"};
constexpr const char *folders[] = {"", "", "", "/lib/security/", "/lib/x86_64-linux-gnu/security/"};
// clang-format on

/// Only what things are called comes from the policy: the second readings know by themselves what it means.
Vocabulary pamVocabulary(const PamPolicy &policy,
                         const QByteArrayList &separators,
                         const QByteArrayList &others,
                         const QByteArrayList &plainOthers)
{
    const QByteArray name = QFileInfo(policy.stack).fileName().toLatin1();
    Vocabulary words{policy.stack, name, {}, {}, {}, separators, others, plainOthers};
    for (const PamOption &option : policy.options) {
        (option.kind == PamOption::Kind::Flag ? words.flags : words.numbers) += option.name.toLatin1();
    }
    for (const PamProfile &profile : policy.profiles) {
        words.modules += profile.module.toLatin1() + ".so";
    }
    return words;
}

const Vocabulary &vocabularyOf(Kind kind)
{
    // clang-format off
    static const Vocabulary vocabularies[] = {
        {QStringLiteral("/etc/login.defs"),
         "login.defs",
         {"PASS_MAX_DAYS", "PASS_MIN_DAYS", "PASS_WARN_AGE"},
         {},
         {},
         {" ", "\t", "   ", "\t\t", "", "=", " = ", ": ", "\xc2\xa0"},
         {"UMASK 022", "PASS_MAX_DAYS_OLD 4", "XPASS_MIN_DAYS 6", "pass_max_days 3", "PASS_MAX",
          "ENV_PATH PATH=/bin", "PASS_MIN_LEN\t5", "Pass_Warn_Age 2", "PASS_CHANGE_TRIES 3"},
         {"UMASK 022", "PASS_MIN_LEN\t5", "ENV_PATH PATH=/bin:/usr/bin", "MAIL_DIR        /var/mail",
          "PASS_CHANGE_TRIES 3"},
         {QStringLiteral("maxInterval"), QStringLiteral("minInterval"), QStringLiteral("warningInterval")}},
        {QStringLiteral("/etc/default/useradd"),
         "useradd",
         {"INACTIVE", "EXPIRE"},
         {},
         {},
         {"=", "=", "=", "=", " = ", "= ", "\t=", "", " ", "==", ":="},
         {"SHELL=/bin/sh", "GROUP=100", "XINACTIVE=3", "EXPIRED=2001-01-01", "export INACTIVE=5", "inactive=9",
          "HOME=/home", "EXPIRE", "INACTIVE=3;EXPIRE=2001-01-01", "INACTIVE_DAYS=3", "unset EXPIRE"},
         {"SHELL=/bin/sh", "GROUP=100", "HOME=/home", "SKEL=\"/etc/skel\"", "CREATE_MAIL_SPOOL=no", "INACTIV=3"},
         {QStringLiteral("inactiveInterval"), QStringLiteral("expireDate")}},
        pamVocabulary(
            lockoutPolicy(),
            {"=", "=", "=", "=", "", "==", "-", ":", "=+"},
            {"onerr=fail", "even_deny_root_account", "audit", "silent", "no_log_info", "even_deny_root",
             "root_unlock_time=5", "file=/var/log/per_user", "deny_root=3", "Deny=3", "[x y]", "=", "==", "=5",
             "=deny=5", "lock_timeout=4"},
            {"onerr=fail", "audit", "silent", "no_log_info", "file=/var/log/tallies", "Deny=3"}),
        pamVocabulary(
            complexityPolicy(),
            {"=", "=", "=", "=", "", "==", "-", ":", "=+", "=-"},
            {"retry=3", "maxsequence=3", "use_authtok", "minlength=3", "xminlen=4", "maxrepeat=3", "dictcheck=0",
             "minclass=4", "usercheck=1", "Minlen=3", "reject_username=0", "enforce_for_root_too", "=", "=minlen=5",
             "[a b]"},
            {"retry=3", "maxsequence=3", "use_authtok", "maxrepeat=3", "minclass=4", "Minlen=3"}),
    };
    // clang-format on
    return vocabularies[int(kind)];
}

template<std::size_t size>
QByteArrayList listOf(const char *const (&texts)[size])
{
    return {std::cbegin(texts), std::cend(texts)};
}

bool isPam(Kind kind)
{
    return !vocabularyOf(kind).modules.isEmpty();
}
}

QString pathOf(Kind kind)
{
    return vocabularyOf(kind).path;
}

QByteArray nameOf(Kind kind)
{
    return vocabularyOf(kind).name;
}

QByteArray wordsOf(Kind kind)
{
    const Vocabulary &words = vocabularyOf(kind);
    return words.name + ' ' + words.modules.join(',') + ' ' + words.flags.join(',') + ' ' + words.numbers.join(',');
}

QStringList flagsOf(Kind kind)
{
    QStringList flags;
    for (const QByteArray &flag : vocabularyOf(kind).flags) {
        flags += QString::fromLatin1(flag);
    }
    return flags;
}

FileGenerator::FileGenerator(quint32 seed) : m_random(seed)
{
}

template<std::size_t size>
QByteArray FileGenerator::pick(const char *const (&texts)[size])
{
    return texts[m_random.bounded(int(size))];
}

QByteArray FileGenerator::pick(const QByteArrayList &texts)
{
    return texts.at(m_random.bounded(texts.size()));
}

QByteArray FileGenerator::file(Kind kind)
{
    QByteArray content;
    for (int lines = number(0, 8); lines > 0; --lines) {
        content += line(kind) + pick(lineEnds);
    }
    return oneOf(4) ? content + line(kind) : content;
}

QByteArray FileGenerator::plainFile(Kind kind)
{
    QByteArray content;
    for (int lines = number(0, 10); lines > 0; --lines) {
        content += plainLine(kind) + '\n';
    }
    return content;
}

QByteArray FileGenerator::profile(Kind kind)
{
    return file(kind) + '\n' + plainModuleLine(kind) + '\n' + file(kind);
}

QVariantMap FileGenerator::arguments(Kind kind)
{
    QVariantMap arguments;
    const Vocabulary &words = vocabularyOf(kind);
    const QStringList flags = flagsOf(kind);
    for (const QString &flag : flags) {
        if (!oneOf(3)) {
            arguments.insert(flag, oneOf(2));
        }
    }
    for (const QByteArray &option : isPam(kind) ? words.numbers : QByteArrayList()) {
        if (!oneOf(3)) {
            arguments.insert(QString::fromLatin1(option), number(-3, 20));
        }
    }
    for (const QString &key : words.days) {
        if (!oneOf(3)) {
            const int days = numberOf(kind);
            arguments.insert(key, key == QLatin1String("expireDate") ? QVariant(qlonglong(days)) : QVariant(days));
        }
    }
    return arguments;
}

int FileGenerator::number(int from, int to)
{
    return m_random.bounded(from, to + 1);
}

int FileGenerator::numberOf(Kind kind)
{
    // the options of pam_tally are read without a sign
    return kind != Kind::CommonAuth && oneOf(6) ? -1 : number(0, 99999);
}

bool FileGenerator::oneOf(int chances)
{
    return m_random.bounded(chances) == 0;
}

QByteArray FileGenerator::someOf(const QByteArrayList &texts, int most)
{
    QByteArray result;
    for (int count = number(0, most); count > 0; --count) {
        result += pick(texts);
    }
    return result;
}

QByteArray FileGenerator::blank()
{
    return oneOf(8) ? pick(oddBlanks) : pick(blanks);
}

QByteArray FileGenerator::value(Kind kind)
{
    if (kind == Kind::UseraddDefaults && oneOf(2)) {
        return oneOf(2) ? plainDate() : pick(oddDates);
    }
    return oneOf(2) ? QByteArray::number(number(-9, 99999)) : pick(oddNumbers);
}

QByteArray FileGenerator::setting(Kind kind)
{
    const Vocabulary &words = vocabularyOf(kind);
    if (!words.flags.isEmpty() && oneOf(3)) {
        return pick(words.flags);
    }
    return oneOf(4) ? pick(words.others) : pick(words.numbers) + pick(words.separators) + value(kind);
}

QByteArray FileGenerator::moduleLine(Kind kind)
{
    QByteArray text = pick(types) + blank() + pick(controls) + blank();
    for (int modules = oneOf(8) ? 2 : 1; modules > 0; --modules) {
        text += pick(folders) + pick(vocabularyOf(kind).modules) + (oneOf(4) ? pick(glue) : QByteArray());
        for (int options = number(0, 5); options > 0; --options) {
            text += blank() + setting(kind);
        }
        text += pick(someBlanks);
    }
    return text;
}

QByteArray FileGenerator::line(Kind kind)
{
    const Vocabulary &words = vocabularyOf(kind);
    switch (number(0, 9)) {
    case 0:
        return pick(someBlanks) + pick(comments);
    case 1:
        return pick(someBlanks) + '#' + (isPam(kind) ? plainModuleLine(kind) : plainSetting(kind));
    case 2:
        return isPam(kind) ? "@include common-account" : pick(words.others);
    case 3: {
        const QByteArrayList pieces{"=", "#", "-", "5", QByteArray(1, '\0'), " "};
        return someOf(words.numbers + words.modules + words.flags + pieces + pieces + listOf(blanks) + listOf(oddBlanks)
                          + listOf(glue),
                      12);
    }
    case 4:
        return isPam(kind) ? "auth [success=1 default=ignore]\tpam_unix.so deny=9 minlen=9"
                           : pick(someBlanks) + setting(kind) + ' ' + setting(kind);
    default:
        return pick(someBlanks) + (isPam(kind) ? moduleLine(kind) : setting(kind)) + pick(comments);
    }
}

QByteArray FileGenerator::plainDate()
{
    return QDate(number(1900, 2199), number(1, 12), number(1, 28)).toString(QStringLiteral("yyyy-MM-dd")).toLatin1();
}

QByteArray FileGenerator::plainSetting(Kind kind)
{
    const Vocabulary &words = vocabularyOf(kind);
    const QByteArray name = pick(words.numbers);
    if (name == "EXPIRE") {
        return name + '=' + (oneOf(4) ? QByteArray() : plainDate());
    }
    static constexpr const char *separators[] = {" ", "\t", "    ", "\t\t", "\t "};
    return name + (kind == Kind::LoginDefs ? pick(separators) : QByteArray("=")) + QByteArray::number(numberOf(kind));
}

QByteArray FileGenerator::plainModuleLine(Kind kind)
{
    const Vocabulary &words = vocabularyOf(kind);
    QByteArray text = pick(types) + '\t' + pick(controls) + "\t\t" + pick(folders) + pick(words.modules);
    for (int options = number(0, 6); options > 0; --options) {
        text += oneOf(3) ? "  " : " ";
        switch (number(0, 2)) {
        case 0:
            text += pick(words.plainOthers);
            break;
        case 1:
            text += pick(words.flags);
            break;
        default:
            text += plainSetting(kind);
        }
    }
    return oneOf(4) ? text + " # note" : text;
}

QByteArray FileGenerator::plainLine(Kind kind)
{
    switch (number(0, 5)) {
    case 0:
        return oneOf(2) ? "# a note" : "";
    case 1:
        return isPam(kind) ? "@include common-account" : pick(vocabularyOf(kind).plainOthers);
    case 2:
        return '#' + (isPam(kind) ? plainModuleLine(kind) : plainSetting(kind));
    default:
        return isPam(kind) ? plainModuleLine(kind) : plainSetting(kind);
    }
}
