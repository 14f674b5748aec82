// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"
#include "tests/support/PseudoTerminal.h"

#include <QString>

#include <memory>

/// The prepared folder with the machine's parts, see the script "prepare".
QString machineFolder();

/**
 * A root folder of a Debian machine whose changes are gone when this object ends.
 */
class MachineRoot
{
public:
    enum class Contents { WithoutOurPackages, WithOurPackages };

    explicit MachineRoot(Contents contents);
    ~MachineRoot();

    QString path() const;
    /// The same file as the machine's own @p path.
    QString file(const QString &path) const;
    /// Runs a shell script there, by chroot(8), as root.
    ProgramResult run(const QString &script) const;

private:
    Q_DISABLE_COPY(MachineRoot)

    QString m_folder;
};

/**
 * A machine, booted. It has the accounts "root", "admin" (of the group sudo) and "guest", all with the
 * same password.
 */
class Machine
{
public:
    static const QByteArray password;

    /// Boots; ends the test program if the machine doesn't come up.
    explicit Machine(MachineRoot::Contents contents = MachineRoot::Contents::WithOurPackages);
    ~Machine();

    const MachineRoot &root() const;

    /// Runs a shell script as root, in no session of the machine's.
    ProgramResult run(const QString &script) const;

    /// Runs a shell script as root, on a terminal of its own.
    std::unique_ptr<PseudoTerminal> onTerminal(const QString &script) const;

    /// The machine's console, where people log in.
    PseudoTerminal *console();

    /// Logs in on the console; false if that fails.
    bool logIn(const QByteArray &account);

private:
    Q_DISABLE_COPY(Machine)

    QStringList entered(const QString &script) const;

    MachineRoot m_root;
    std::unique_ptr<PseudoTerminal> m_console;
    QString m_leader;
};
