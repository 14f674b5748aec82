// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/differential/ModuleGenerator.h"

namespace
{
// clang-format off
const QByteArrayList someBlanks{"", "", "", " ", "\t", "   "};
const QByteArrayList signs{" = ", " = ", " = ", "=", "= ", " =", " ", "\t", "\t=\t", "  =  "};
const QByteArrayList lineEnds{"\n", "\n", "\n", "\n", "\n", " \n", "\t\n", "\n\n"};
const QByteArrayList comments{"", "", "", "# note", " # note", "\t#", "# deny = 9", " # minlen = 9", "## \xff", " # gr\xc3\xbcn"};
const QByteArrayList oddNumbers{"", "007", "-0", "-7", "+5", "-", "--5", "1.5", "1e3", "0x10", "5x", "x5", "\"5\"", "'5'",
    "5,6", "5;", "5 6", "= 5", "\xd9\xa3", "5\xff", "65535", "never", "never5", "Never", "604800", "604801"};
const QByteArrayList oddTexts{"", "\"a\"", "a b", "a=b", "=a", "gr\xc3\xbcn", "\xff", "nobody"};
const QByteArrayList others{"denied = 4", "Deny = 5", "xdeny = 6", "minlength = 7", "badwords = one two", "dictpath = /x",
    "[section]", "=", "= 5", "5", "remembers = 3", "conf = /x", "user_substr = 5", "\x01", "deny5", "deny:5", "!audit"};
// the library reads on behind these
const QByteArrayList othersOfLibrary{"badwords = one two", "dictpath = /x", "badwords=three"};
const QByteArrayList plainOthers{"# a note", "", "# deny = 4", "#minlen = 9"};
const QByteArrayList otherOptions{"debug", "type=New", "[x y]", "Remember=3", "xdeny=4"};
// clang-format on

bool isNumber(const ModuleSetting &setting)
{
    return setting.kind == ModuleSetting::Kind::Number || setting.kind == ModuleSetting::Kind::Seconds;
}
}

ModuleGenerator::ModuleGenerator(quint32 seed) : m_random(seed)
{
}

QByteArray ModuleGenerator::file(const ModulePolicy &policy)
{
    QByteArray content;
    for (int lines = number(0, 8); lines > 0; --lines) {
        content += anyLine(policy) + anyOf(lineEnds);
    }
    return oneOf(4) ? content + anyLine(policy) : content;
}

QByteArray ModuleGenerator::plainFile(const ModulePolicy &policy)
{
    QByteArray content;
    for (int lines = number(0, 8); lines > 0; --lines) {
        const ModuleSetting &setting = anySetting(policy);
        const bool isFlag = setting.kind == ModuleSetting::Kind::Flag;
        content += (oneOf(3)     ? anyOf(plainOthers)
                        : isFlag ? setting.name.toLatin1()
                                 : setting.name.toLatin1() + anyOf({" = ", "="}) + text(setting))
            + '\n';
    }
    return content;
}

QStringList ModuleGenerator::options(const ModulePolicy &policy)
{
    QStringList options;
    for (int count = number(0, 6); count > 0; --count) {
        const ModuleSetting &setting = anySetting(policy);
        const bool isAlone = oneOf(10) == (setting.kind != ModuleSetting::Kind::Flag);
        const QByteArray value = oneOf(4) ? oddText(setting).replace(' ', '_') : text(setting);
        options += oneOf(4) ? QString::fromLatin1(anyOf(otherOptions))
                            : QString::fromUtf8(spelling(setting) + (isAlone ? QByteArray() : '=' + value));
    }
    return options;
}

QByteArray ModuleGenerator::stack()
{
    QByteArray content;
    for (int lines = number(1, 10); lines > 0; --lines) {
        QByteArray line = anyOf({"auth", "account", "password", "session", "-session", "-auth"}) + anyOf({"\t", " "})
            + anyOf({"required",
                     "requisite",
                     "sufficient",
                     "optional",
                     "include",
                     "[success=2 default=ignore]",
                     "[default=die]",
                     "[success=ok new_authtok_reqd=ok ignore=ignore user_unknown=bad default=die]"})
            + anyOf({"\t", "\t\t", " "}) + anyOf({"", "", "/lib/security/"})
            + anyOf({"pam_unix.so", "pam_faillock.so", "pam_pwquality.so", "pam_pwhistory.so", "pam_exec.so"});
        for (int count = number(0, 4); count > 0; --count) {
            line += ' '
                + anyOf({"preauth",
                         "authfail",
                         "use_authtok",
                         "remember=5",
                         "retry=3",
                         "try_first_pass",
                         "[cmd=a b]",
                         "minlen=9"});
        }
        content += (oneOf(5) ? anyOf({"# auth required pam_faillock.so", "@include common-account", "", "# note"})
                             : line + anyOf({"", "", " ", " # pam_deny.so"}))
            + '\n';
    }
    return content;
}

QVariantMap ModuleGenerator::values(const ModulePolicy &policy)
{
    QVariantMap values;
    for (const ModuleSetting &setting : policy.settings) {
        if (oneOf(2)) {
            values.insert(setting.name, anyValue(setting));
        }
    }
    return values;
}

int ModuleGenerator::number(int from, int to)
{
    return m_random.bounded(from, to + 1);
}

bool ModuleGenerator::oneOf(int chances)
{
    return m_random.bounded(chances) == 0;
}

QByteArray ModuleGenerator::anyOf(const QByteArrayList &texts)
{
    return texts.at(number(0, int(texts.size()) - 1));
}

const ModuleSetting &ModuleGenerator::anySetting(const ModulePolicy &policy)
{
    return policy.settings.at(number(0, int(policy.settings.size()) - 1));
}

QByteArray ModuleGenerator::text(const ModuleSetting &setting)
{
    switch (setting.kind) {
    case ModuleSetting::Kind::Text:
        return anyOf({"chiefs", "chiefs", "games", "nogroup", "absent"});
    case ModuleSetting::Kind::Path:
        return anyOf({"/run/failures", "/run/failures/more", "/var/run/faillock"});
    case ModuleSetting::Kind::Switch:
        return anyOf({"0", "1"});
    default:
        return QByteArray::number(oneOf(8) ? setting.minimum
                                      : oneOf(8) && setting.maximum < 1000
                                      ? setting.maximum
                                      : number(int(qMax(setting.minimum, -20LL)), int(qMin(setting.maximum, 40LL))));
    }
}

QByteArray ModuleGenerator::spelling(const ModuleSetting &setting)
{
    const QByteArray name = setting.name.toLatin1();
    return !oneOf(10) ? name : oneOf(2) ? name.toUpper() : name.left(1).toUpper() + name.mid(1);
}

QByteArray ModuleGenerator::oddText(const ModuleSetting &setting)
{
    return anyOf(setting.kind == ModuleSetting::Kind::Text || setting.kind == ModuleSetting::Kind::Path ? oddTexts
                                                                                                        : oddNumbers);
}

QByteArray ModuleGenerator::anyLine(const ModulePolicy &policy)
{
    const ModuleSetting &setting = anySetting(policy);
    const bool isAlone = oneOf(10) == (setting.kind != ModuleSetting::Kind::Flag);
    const bool isOdd = oneOf(policy.readContent ? 20 : 4);
    const QByteArray value = isAlone ? QByteArray() : anyOf(signs) + (isOdd ? oddText(setting) : text(setting));
    switch (number(0, 9)) {
    case 0:
        return anyOf(someBlanks) + anyOf(comments);
    case 1:
        return '#' + setting.name.toLatin1() + value;
    case 2:
        return anyOf(someBlanks) + anyOf(policy.readContent && !oneOf(10) ? othersOfLibrary : others);
    default:
        return anyOf(someBlanks) + spelling(setting) + value + anyOf(comments);
    }
}

QVariant ModuleGenerator::anyValue(const ModuleSetting &setting)
{
    const QByteArray written = text(setting);
    return isNumber(setting) ? QVariant(written.toLongLong())
        : setting.kind == ModuleSetting::Kind::Text || setting.kind == ModuleSetting::Kind::Path
        ? QVariant(QString::fromLatin1(written))
        : QVariant(oneOf(2));
}
