// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/machine/Machine.h"

#include "tests/support/Files.h"

#include <QDir>
#include <QElapsedTimer>
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

void mountOrDie(const char *source, const QString &target, const char *type, const QByteArray &options)
{
    if (mount(source, QFile::encodeName(target).constData(), type, 0, options.constData()) != 0) {
        qFatal("cannot mount %s on %s: %s", source, qPrintable(target), std::strerror(errno));
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

/// What installing our packages changed on the machine's root, once more.
void unpackInstalled(const QString &upper)
{
    const ProgramResult unpacked = runAs(superuser,
                                         QStringLiteral("tar"),
                                         {QStringLiteral("--directory=") + upper,
                                          QStringLiteral("--xattrs"),
                                          QStringLiteral("--xattrs-include=*"),
                                          QStringLiteral("--extract"),
                                          QStringLiteral("--file=%1/installed.tar").arg(machineFolder())});
    if (unpacked.exitCode != 0) {
        qFatal("cannot unpack what was installed: %s", unpacked.standardError.constData());
    }
}

/// Ends the test program with one line. The last thing that the console said is most often the reason; all of it is kept.
[[noreturn]] void endWithoutMachine(const QByteArray &console)
{
    const QString file = machineFolder() + QStringLiteral("/console.log");
    writeContent(file, console);
    qFatal("systemd-nspawn cannot boot a machine here: %s (its console: %s)",
           console.trimmed().split('\n').constLast().trimmed().constData(),
           qPrintable(file));
}

QStringList shell(const QString &script)
{
    return {QStringLiteral("/usr/bin/env"),
            QStringLiteral("-i"),
            QStringLiteral("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
            QStringLiteral("HOME=/root"),
            QStringLiteral("LC_ALL=C.UTF-8"),
            QStringLiteral("DEBIAN_FRONTEND=noninteractive"),
            QStringLiteral("/bin/sh"),
            QStringLiteral("-c"),
            script};
}
}

const QByteArray Machine::password = "Kw7-zR4q-Tm2xBv9";

QString machineFolder()
{
    return QStringLiteral(MACHINE_FOLDER);
}

MachineRoot::MachineRoot(Contents contents) : m_folder(machineFolder() + QStringLiteral("/run"))
{
    separateMounts();
    QDir().mkpath(m_folder);
    mountOrDie("tmpfs", m_folder, "tmpfs", "mode=755");
    for (const char *part : {"upper", "work", "root"}) {
        QDir(m_folder).mkdir(QString::fromLatin1(part));
    }
    if (contents == Contents::WithOurPackages) {
        unpackInstalled(m_folder + QStringLiteral("/upper"));
    }
    const QByteArray encoded = QFile::encodeName(m_folder);
    mountOrDie("overlay",
               path(),
               "overlay",
               "lowerdir=" + QFile::encodeName(machineFolder()) + "/base,upperdir=" + encoded
                   + "/upper,workdir=" + encoded + "/work");
}

MachineRoot::~MachineRoot()
{
    umount2(QFile::encodeName(path()).constData(), MNT_DETACH);
    umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
}

QString MachineRoot::path() const
{
    return m_folder + QStringLiteral("/root");
}

QString MachineRoot::file(const QString &path) const
{
    return this->path() + path;
}

ProgramResult MachineRoot::run(const QString &script) const
{
    return runAs(superuser, QStringLiteral("chroot"), QStringList{path()} + shell(script));
}

Machine::Machine(MachineRoot::Contents contents) : m_root(contents)
{
    const ProgramResult accounts =
        m_root.run(QStringLiteral("set -e\n"
                                  "useradd -m -s /bin/bash -G sudo admin; useradd -m -s /bin/bash guest\n"
                                  "printf '%s:%1\\n' root admin guest | chpasswd -c SHA512\n"
                                  "for home in /root /home/admin /home/guest; do\n"
                                  "echo 'PS1=\"ready> \"; bind \"set enable-bracketed-paste off\"; TERM=dumb' "
                                  ">$home/.bashrc\n"
                                  "touch $home/.hushlogin\n"
                                  "done")
                       .arg(QString::fromLatin1(password)));
    if (accounts.exitCode != 0) {
        qFatal("cannot add accounts: %s", accounts.standardError.constData());
    }
    m_console = std::make_unique<PseudoTerminal>(superuser,
                                                 QStringLiteral("systemd-nspawn"),
                                                 QStringList{QStringLiteral("--quiet"),
                                                             QStringLiteral("--directory=") + m_root.path(),
                                                             QStringLiteral("--register=no"),
                                                             QStringLiteral("--keep-unit"),
                                                             QStringLiteral("--private-network"),
                                                             QStringLiteral("--boot")});
    if (!m_console->waitFor("login: ", bootLimit)) {
        endWithoutMachine(m_console->output());
    }
    const QString parent = QString::number(m_console->process());
    m_leader = QString::fromLatin1(
        runAs(superuser, QStringLiteral("pgrep"), {QStringLiteral("-P"), parent}).standardOutput.trimmed());
    run(QStringLiteral("systemctl is-system-running --wait"));
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

ProgramResult Machine::run(const QString &script) const
{
    return runAs(superuser, QStringLiteral("nsenter"), entered(script));
}

std::unique_ptr<PseudoTerminal> Machine::onTerminal(const QString &script) const
{
    return std::make_unique<PseudoTerminal>(superuser, QStringLiteral("nsenter"), entered(script));
}

QStringList Machine::entered(const QString &script) const
{
    return QStringList{QStringLiteral("--target"),
                       m_leader,
                       QStringLiteral("--all"),
                       QStringLiteral("--root"),
                       QStringLiteral("--wd"),
                       QStringLiteral("--")}
    + shell(script);
}

PseudoTerminal *Machine::console()
{
    return m_console.get();
}

bool Machine::logIn(const QByteArray &account)
{
    m_console->type(account + '\r');
    if (!m_console->waitFor("Password: ")) {
        return false;
    }
    QThread::msleep(300); // until login(1) has thrown away what was typed too early
    m_console->type(password + '\r');
    return m_console->waitFor("ready> ");
}
