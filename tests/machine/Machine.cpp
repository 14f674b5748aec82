// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/machine/Machine.h"

#include "tests/support/Files.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>

namespace
{
constexpr int superuser = 0;
constexpr int bootLimit = 90000; // ms

QStringList words(const char *line)
{
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

void mountOrDie(const char *type, const QString &target, const QByteArray &options)
{
    if (mount(type, QFile::encodeName(target).constData(), type, 0, options.constData()) != 0) {
        qFatal("cannot mount %s on %s: %s", type, qPrintable(target), std::strerror(errno));
    }
}

/// Mounts of this process are its own from the first call on, and end with it.
void separateMounts()
{
    static const bool separate =
        unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    if (!separate) {
        qFatal("no mount namespace: %s", std::strerror(errno));
    }
}

void runOrDie(const QString &program, const QStringList &arguments)
{
    const ProgramResult result = runAs(superuser, program, arguments);
    if (result.exitCode != 0) {
        qFatal("%s failed: %s", qPrintable(program), result.standardError.constData());
    }
}

/// Ends the test program with one line. The last thing that the console said is most often the reason; all of it is kept.
[[noreturn]] void endWithoutMachine(const QByteArray &console)
{
    const QString file = machineFile(QStringLiteral("console.log"));
    writeContent(file, console);
    qFatal("systemd-nspawn cannot boot a machine here: %s (its console: %s)",
           console.trimmed().split('\n').constLast().trimmed().constData(),
           qPrintable(file));
}

QStringList shell(const QByteArray &script)
{
    return words("/usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 "
                 "DEBIAN_FRONTEND=noninteractive /bin/sh -c")
        << QString::fromUtf8(script);
}

const char addAccounts[] = R"SHELL(set -e
useradd -m -s /bin/bash -G sudo admin; useradd -m -s /bin/bash guest
printf '%s:PASSWORD\n' root admin guest | chpasswd -c SHA512
for home in /root /home/admin /home/guest; do
    echo 'PS1="ready> "; bind "set enable-bracketed-paste off"; TERM=dumb' >$home/.bashrc
    touch $home/.hushlogin
done)SHELL";
}

const QByteArray Machine::password = "Kw7-zR4q-Tm2xBv9";

QString machineFile(const QString &name)
{
    return QDir::cleanPath(QStringLiteral(MACHINE_FOLDER "/") + name);
}

QByteArray described(const ProgramResult &result)
{
    return QByteArray::number(result.exitCode) + ": " + result.standardOutput + result.standardError;
}

MachineRoot::MachineRoot(Contents contents) : m_folder(machineFile(QStringLiteral("run")))
{
    separateMounts();
    QDir().mkpath(m_folder);
    mountOrDie("tmpfs", m_folder, "mode=755");
    const QDir folder(m_folder);
    for (const QString &part : words("upper work root")) {
        folder.mkdir(part);
    }
    if (contents == Contents::WithOurPackages) {
        runOrDie(QStringLiteral("tar"),
                 words("--xattrs --xattrs-include=* --extract --file")
                     << machineFile(QStringLiteral("installed.tar")) << QStringLiteral("--directory")
                     << folder.filePath(QStringLiteral("upper")));
    }
    const QByteArray place = QFile::encodeName(m_folder);
    mountOrDie("overlay",
               path(),
               "lowerdir=" + QFile::encodeName(machineFile(QStringLiteral("base"))) + ",upperdir=" + place
                   + "/upper,workdir=" + place + "/work");
}

MachineRoot::~MachineRoot()
{
    umount2(QFile::encodeName(path()).constData(), MNT_DETACH);
    umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
}

QString MachineRoot::path(const QByteArray &file) const
{
    return m_folder + QStringLiteral("/root") + QFile::decodeName(file);
}

QByteArray MachineRoot::read(const QByteArray &file) const
{
    return contentOf(path(file));
}

bool MachineRoot::has(const QByteArray &file) const
{
    return QFile::exists(path(file));
}

QByteArray MachineRoot::run(const QByteArray &script) const
{
    return described(runAs(superuser, QStringLiteral("chroot"), QStringList{path()} + shell(script)));
}

Machine::Machine(MachineRoot::Contents contents) : m_root(contents)
{
    runOrDie(QStringLiteral("chroot"),
             QStringList{m_root.path()} + shell(QByteArray(addAccounts).replace("PASSWORD", password)));
    m_console = std::make_unique<PseudoTerminal>(
        superuser,
        QStringLiteral("systemd-nspawn"),
        words("--quiet --register=no --keep-unit --private-network --boot --directory") << m_root.path());
    if (!m_console->waitFor("login: ", bootLimit)) {
        endWithoutMachine(m_console->output());
    }
    const QString parent = QString::number(m_console->process());
    m_leader = QString::fromLatin1(
        runAs(superuser, QStringLiteral("pgrep"), {QStringLiteral("-P"), parent}).standardOutput.trimmed());
    run("systemctl is-system-running --wait");
}

Machine::~Machine()
{
    // pulls the plug: with its first process all of the machine ends
    kill(static_cast<pid_t>(m_leader.toInt()), SIGKILL);
    m_console->waitForEnd();
}

const MachineRoot &Machine::root() const
{
    return m_root;
}

QByteArray Machine::run(const QByteArray &script) const
{
    return described(runAs(superuser, QStringLiteral("nsenter"), entered(script)));
}

std::unique_ptr<PseudoTerminal> Machine::onTerminal(const QByteArray &script) const
{
    return std::make_unique<PseudoTerminal>(superuser, QStringLiteral("nsenter"), entered(script));
}

std::unique_ptr<PseudoTerminal> Machine::ssh(const QByteArray &account) const
{
    run("echo KbdInteractiveAuthentication yes >/etc/ssh/sshd_config.d/asking.conf; systemctl restart ssh");
    return onTerminal("systemd-run --quiet --pty ssh -o StrictHostKeyChecking=no "
                      "-o PreferredAuthentications=keyboard-interactive "
                      + account + "@127.0.0.1");
}

QStringList Machine::entered(const QByteArray &script) const
{
    return QStringList{QStringLiteral("--target"), m_leader} + words("--all --root --wd --") + shell(script);
}

PseudoTerminal *Machine::console()
{
    return m_console.get();
}

bool answerPassword(PseudoTerminal *terminal, const QByteArray &password)
{
    if (!terminal->waitFor("Password: ")) {
        return false;
    }
    QThread::msleep(300); // until what was typed too early has been thrown away
    terminal->type(password + '\r');
    return true;
}
