// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/differential/PamMachine.h"

#include "tests/support/Files.h"

#include <QDir>
#include <QFile>

namespace
{
constexpr char toolPath[] = "/usr/sbin/pam-auth-update";
constexpr char answersPath[] = "/var/cache/debconf/config.dat";
const QString profilesFolder = QStringLiteral("/usr/share/pam-configs");
const QString recordsFolder = QStringLiteral("/var/lib/pam");

const QByteArrayList stacks{"auth", "account", "password", "session", "session-noninteractive"};

/// What stands in the place of NUMBER makes each line one of its own.
const QByteArrayList lines{
    "auth required pam_faillock.so preauth marker=NUMBER",
    "password\trequired\t\tpam_pwhistory.so remember=5 marker=NUMBER",
    "password requisite pam_pwquality.so retry=3 minlen=9 marker=NUMBER",
    "auth required pam_tally.so deny=4 marker=NUMBER",
    "session [success=2 default=ignore] pam_exec.so [cmd=a b] marker=NUMBER",
    "-session optional pam_systemd.so marker=NUMBER",
    "@include marker-NUMBER",
    "# by hand, NUMBER",
    "# auth required pam_tally.so deny=9 marker=NUMBER",
    "# Gr\xfc\xdf"
    "e \xc3\xbc marker=NUMBER",
    "\xff\xfe marker=NUMBER",
    "session optional pam_echo.so marker=NUMBER \\",
    "account required pam_access.so marker=NUMBER\r",
    "nonsense marker=NUMBER",
};

const QByteArrayList options{"retry=5",
                             "minlen=7",
                             "minlen=99",
                             "deny=8",
                             "rounds=7000",
                             "nullok",
                             "[a=b c]",
                             "badwords=x",
                             "use_authtok",
                             "\xe9"};

QString profilePath(const QByteArray &name)
{
    return profilesFolder + QLatin1Char('/') + QString::fromLatin1(name);
}
}

PamMachine::PamMachine(FileGenerator *generator)
    : m_generator(generator), m_tool(contentOf(toolPath)), m_answers(contentOf(answersPath))
{
}

void PamMachine::restore()
{
    m_stock.restore();
    writeProgram(toolPath, m_tool);
    writeContent(answersPath, m_answers);
    m_added.clear();
}

void PamMachine::disturb(Kind kind)
{
    if (kind == Kind::CommonAuth || oneOf(6)) {
        writeProfile(kind == Kind::CommonAuth ? kind : Kind::CommonPassword);
    }
    using Disturbance = void (PamMachine::*)();
    const Disturbance all[] = {&PamMachine::addLine,
                               &PamMachine::addLine,
                               &PamMachine::editOptions,
                               &PamMachine::editOptions,
                               &PamMachine::breakLine,
                               &PamMachine::loseFile,
                               &PamMachine::addProfile,
                               &PamMachine::addProfile,
                               &PamMachine::switchDefault,
                               &PamMachine::select,
                               &PamMachine::select,
                               &PamMachine::retireModules};
    for (int i = m_generator->number(0, 3); i > 0; --i) {
        (this->*all[m_generator->number(0, int(std::size(all)) - 1)])();
    }
}

QByteArrayList PamMachine::addedLines() const
{
    return m_added;
}

QByteArray PamMachine::anyOf(const QByteArrayList &texts)
{
    return texts.at(m_generator->number(0, texts.size() - 1));
}

bool PamMachine::oneOf(int chances)
{
    return m_generator->number(1, chances) == 1;
}

QString PamMachine::anyStack()
{
    return QStringLiteral("/etc/pam.d/common-") + QString::fromLatin1(anyOf(stacks));
}

template<typename Change>
void PamMachine::changeLine(const Change &change)
{
    const QString stack = anyStack();
    QByteArrayList content = QFile::exists(stack) ? contentOf(stack).split('\n') : QByteArrayList();
    if (content.isEmpty()) {
        return;
    }
    const int place = m_generator->number(0, content.size() - 1);
    const QByteArrayList changed = change(content.at(place));
    content.removeAt(place);
    for (int i = 0; i < changed.size(); ++i) {
        content.insert(place + i, changed.at(i));
    }
    writeContent(stack, content.join('\n'));
}

void PamMachine::addLine()
{
    const QByteArray line = anyOf(lines).replace("NUMBER", QByteArray::number(++m_number));
    changeLine([&](const QByteArray &next) {
        m_added += line;
        return QByteArrayList{line, next};
    });
    if (oneOf(2)) {
        addLineToManagedBlock();
    }
}

void PamMachine::addLineToManagedBlock()
{
    const QString stack = anyStack();
    const QByteArray end = anyOf({"# here's the fallback", "# end of pam-auth-update config"});
    const QByteArray line = anyOf(lines).replace("NUMBER", QByteArray::number(++m_number));
    const QByteArray content = QFile::exists(stack) ? contentOf(stack) : QByteArray();
    if (content.contains(end)) {
        m_added += line;
        writeContent(stack, QByteArray(content).replace(end, line + '\n' + end));
    }
}

void PamMachine::editOptions()
{
    changeLine([this](const QByteArray &line) {
        QByteArrayList words = line.split(' ');
        if (oneOf(3)) {
            words.removeLast();
        }
        const QByteArray option = anyOf(options);
        words.insert(m_generator->number(0, words.size()), option);
        m_added.removeAll(line);
        return QByteArrayList{words.join(' ')};
    });
}

void PamMachine::breakLine()
{
    changeLine([this](const QByteArray &line) {
        m_added.removeAll(line);
        return oneOf(2) ? QByteArrayList() : QByteArrayList{line.mid(line.size() / 2)};
    });
}

void PamMachine::loseFile()
{
    QDir records(recordsFolder);
    const QStringList names = records.entryList(QDir::Files, QDir::Name);
    if (oneOf(4) || names.isEmpty()) {
        const QString stack = anyStack();
        m_added.clear();
        QFile::remove(stack);
        return;
    }
    const QString record = records.filePath(names.at(m_generator->number(0, names.size() - 1)));
    if (oneOf(2)) {
        QFile::remove(record);
    } else {
        const QByteArray content = contentOf(record);
        writeContent(record, content.left(content.size() / 2));
    }
}

void PamMachine::writeProfile(Kind kind)
{
    const bool isLockout = kind == Kind::CommonAuth;
    const QByteArray type = isLockout ? "Auth" : "Password";
    const QByteArray name = isLockout ? "tally" : anyOf({"cracklib", "pwquality"});
    const QByteArray module = oneOf(5) ? "pam_other.so"
        : isLockout                    ? "pam_tally.so"
        : oneOf(2)                     ? "pam_cracklib.so"
                                       : "pam_pwquality.so";
    QByteArray content = "Name: " + name + "\nDefault: " + anyOf({"yes", "no"})
        + "\nPriority: " + QByteArray::number(m_generator->number(0, 2000)) + '\n' + type
        + "-Type: " + anyOf({"Primary", "Additional"}) + '\n' + type + ":\n\trequisite\t" + module + " retry=3\n";
    if (oneOf(3)) {
        content += m_generator->profile(kind);
    }
    writeContent(profilePath(name), content);
}

void PamMachine::addProfile()
{
    const QByteArray name = anyOf({"one", "two", "three", "four~", "#five#", "pwquality.tmp", "s\xc3\xa9pt"});
    if (oneOf(4)) {
        QFile::remove(profilePath(name));
        return;
    }
    const QByteArray type = anyOf({"Auth", "Account", "Password", "Session"});
    QByteArray content = "Name: " + name + " \xe9\nDefault: " + anyOf({"yes", "no"})
        + "\nPriority: " + QByteArray::number(m_generator->number(0, 2000)) + '\n';
    if (oneOf(4)) {
        content += "Conflicts: " + anyOf({"one", "two", "pwquality, cracklib", "mkhomedir"}) + '\n';
    }
    content += type + "-Type: " + anyOf({"Primary", "Additional"}) + '\n' + type
        + ":\n\t[success=end default=ignore]\tpam_permit.so " + name + '\n';
    writeContent(profilePath(name), content);
}

void PamMachine::switchDefault()
{
    const QStringList names = QDir(profilesFolder).entryList(QDir::Files, QDir::Name);
    const QString path = profilesFolder + QLatin1Char('/') + names.at(m_generator->number(0, names.size() - 1));
    QByteArray content = contentOf(path);
    // the last one that is there by default stays so: a tool that has nothing to choose from never ends
    if (!path.endsWith(QLatin1String("/unix"))) {
        content.contains("Default: yes") ? content.replace("Default: yes", "Default: no")
                                         : content.replace("Default: no", "Default: yes");
        writeContent(path, content);
    }
}

void PamMachine::select()
{
    QByteArrayList chosen;
    const QStringList names = QDir(profilesFolder).entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        if (oneOf(2)) {
            chosen += name.toUtf8();
        }
    }
    QByteArrayList answers = contentOf(answersPath).split('\n');
    const auto question = answers.indexOf("Name: libpam-runtime/profiles");
    for (int i = question; question >= 0 && !answers.at(i).isEmpty(); ++i) {
        if (answers.at(i).startsWith("Value:")) {
            answers[i] = "Value: " + chosen.join(", ");
        }
    }
    writeContent(answersPath, answers.join('\n'));
    // what the answers count for
    QFile::remove(recordsFolder + QLatin1String("/auth"));
}

void PamMachine::retireModules()
{
    const QByteArray list = "my @invalid_modules = ('pam_tally');";
    QByteArray tool = m_tool;
    writeProgram(toolPath, oneOf(2) ? tool : tool.replace(list, "my @invalid_modules = ();"));
}
