// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"
#include "tests/support/PseudoTerminal.h"

#include <QString>

#include <memory>

/// A file of the prepared folder with the machine's parts, see the script "prepare"; the folder itself for none.
QString machineFile(const QString &name = QString());

/// How a program ended, in one text: its exit code, ": ", and all that it printed.
QByteArray described(const ProgramResult &result);

/**
 * A root folder of a Debian machine whose changes are gone when this object ends. Files are named by the machine's own
 * paths.
 */
class MachineRoot
{
public:
    enum class Contents { WithoutOurPackages, WithOurPackages };

    explicit MachineRoot(Contents contents);
    ~MachineRoot();

    /// Where this machine has that file.
    QString path(const QByteArray &file = QByteArray()) const;
    QByteArray read(const QByteArray &file) const;
    bool has(const QByteArray &file) const;

    /// Runs a shell script there, by chroot(8), as root; how it ended, as described().
    QByteArray run(const QByteArray &script) const;

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

    /// Runs a shell script as root, in no session of the machine's; how it ended, as described().
    QByteArray run(const QByteArray &script) const;

    /// Runs a shell script as root, on a terminal of its own.
    std::unique_ptr<PseudoTerminal> onTerminal(const QByteArray &script) const;

    /// Starts a login by ssh, from the machine itself, which asks for the account's password there.
    std::unique_ptr<PseudoTerminal> ssh(const QByteArray &account) const;

    /// The machine's console, where people log in.
    PseudoTerminal *console();

private:
    Q_DISABLE_COPY(Machine)

    QStringList entered(const QByteArray &script) const;

    MachineRoot m_root;
    std::unique_ptr<PseudoTerminal> m_console;
    QString m_leader;
};

/// Types the password after the next time that the terminal asks for one; false if it doesn't ask.
bool answerPassword(PseudoTerminal *terminal, const QByteArray &password = Machine::password);
