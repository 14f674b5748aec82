# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""The machine that policies are written on: its disk, its tools, and what runs on it."""

import ctypes
import grp
import os
import re
import signal
import stat
import subprocess
import sys
import time

SCRATCH = '/run/faults'
TRACE = SCRATCH + '/trace'
TOOL = '/usr/sbin/pam-auth-update'
REAL_TOOL = SCRATCH + '/pam-auth-update'
FOLDERS = ['/etc', '/usr/share/pam-configs', '/var/lib/pam', '/var/cache/debconf', '/run/tmp']
TRACED = f'strace -y -ttt -o {TRACE} ${{INJECT:+-e inject="$INJECT"}}'
PAGE = 4096  # bytes
ORPHANS_END_WITHIN = 60  # seconds


class Disk:
    """The folders that are written to, as they were at one moment."""

    def __init__(self):
        self.files = {path: self.look(path) for path in self.paths()}

    @staticmethod
    def paths():
        return {os.path.join(folder, name)
                for top in FOLDERS for folder, _, names in os.walk(top) for name in names}

    @staticmethod
    def look(path):
        """Content, owner (with the mode) and a mark that tells cheaply whether the file has been touched."""
        status = os.lstat(path)
        content = content_of(path) if stat.S_ISREG(status.st_mode) else None
        return content, (oct(status.st_mode), status.st_uid, status.st_gid), Disk.mark(status)

    @staticmethod
    def mark(status):
        return status.st_ino, status.st_size, status.st_mtime_ns, status.st_ctime_ns

    def touched(self):
        """The paths that are not as they were, new and missing ones among them."""
        now = self.paths()
        return (now ^ set(self.files)) | {path for path in now & set(self.files)
                                          if self.mark(os.lstat(path)) != self.files[path][2]}

    def restore(self):
        for path in self.touched():
            if path not in self.files:
                os.unlink(path)
                continue
            content, (mode, user, group), _ = self.files[path]
            write(path, content)
            os.chown(path, user, group)
            os.chmod(path, stat.S_IMODE(int(mode, 8)))
            self.files[path] = self.look(path)

    def content(self, path):
        return self.files[path][0] if path in self.files else None

    def owner(self, path):
        return self.files[path][1]


def content_of(path):
    try:
        with open(path, 'rb') as file:
            return file.read()
    except FileNotFoundError:
        return None


def write(path, content):
    with open(path, 'wb') as file:
        file.write(content)


def write_program(path, content):
    write(path, content)
    os.chmod(path, 0o755)


def edit(path, old, new):
    content = content_of(path)
    if old not in content:
        sys.exit(f'{path} does not hold "{old.decode()}"')
    write(path, content.replace(old, new))


def become_reaper():
    """Lets what killed processes leave running become children of this one, so that it can wait for them."""
    set_child_subreaper = 36
    if ctypes.CDLL(None, use_errno=True).prctl(set_child_subreaper, 1, 0, 0, 0) != 0:
        sys.exit('cannot become the reaper of orphans')


def wait_for_orphans(program):
    """Waits for what is left of a program that has ended."""
    end = time.monotonic() + ORPHANS_END_WITHIN
    while time.monotonic() < end:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] == 0:
                end_who_waits_for(program)
                time.sleep(0.002)
        except ChildProcessError:
            return
    sys.exit(f'what a killed process left running has not ended within {ORPHANS_END_WITHIN} s')


def end_who_waits_for(program):
    """Qt 6 has a process wait for its parent before it becomes a tool; for one that has been killed it would wait for good."""
    with open('/proc/thread-self/children', encoding='ascii') as file:
        children = file.read().split()
    for child in children:
        try:
            with open(f'/proc/{child}/syscall', encoding='ascii') as file:
                call = file.read().split()
            if (os.readlink(f'/proc/{child}/exe') == os.path.realpath(program) and len(call) > 1
                    and os.readlink(f'/proc/{child}/fd/{int(call[1], 16)}') == 'anon_inode:[eventfd]'):
                os.kill(int(child), signal.SIGKILL)
        except (FileNotFoundError, ProcessLookupError):
            pass  # ended, or in no call that has a file


def put_wrappers():
    """Puts programs in the way that trace and disturb the real ones where the variable VICTIM asks them to."""
    os.makedirs(SCRATCH, exist_ok=True)
    # on Debian 12 the tool knows pam_tally to be retired, and leaves it out
    tool = content_of(TOOL).replace(b"@invalid_modules = ('pam_tally')", b'@invalid_modules = ()')
    write_program(REAL_TOOL, tool)
    write_program(SCRATCH + '/cp', f'''#!/bin/sh
[ "$3" = "$VICTIM" ] && exec {TRACED} /usr/bin/cp "$@"
exec /usr/bin/cp "$@"
'''.encode())
    write_program(SCRATCH + '/tool', f'#!/bin/sh\nexec {TRACED} {REAL_TOOL} "$@"\n'.encode())
    # the tool starts debconf's frontend in its own place, which runs the tool once more, for the work
    write_program(TOOL, f'''#!/bin/sh
case $VICTIM in
tool) PERL_DL_NONLAZY=1 exec /usr/share/debconf/frontend {SCRATCH}/tool "$@" ;;
frontend) exec {TRACED} {REAL_TOOL} "$@" ;;
esac
exec {REAL_TOOL} "$@"
'''.encode())


def apply_profiles():
    subprocess.run([TOOL, '--force', '--package'], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def fill_in_settings():
    """Gives every managed setting a value, and edits the stacks as a person would: there is something to correct."""
    write('/usr/share/pam-configs/tally', b'Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\n'
          b'Auth-Type: Additional\nAuth:\n\trequired pam_tally.so deny=3 onerr=fail\n')
    edit('/usr/share/pam-configs/pwquality', b'retry=3', b'retry=3 minlen=9')
    apply_profiles()
    edit('/etc/pam.d/common-auth', b'deny=3', b'deny=4')
    edit('/etc/pam.d/common-password', b'minlen=9', b'minlen=7 difok=2')
    settings = b'SHELL=/bin/sh\nINACTIVE=-1 # days\nEXPIRE=\nGROUP=100\n'
    # fills a page but for a few bytes, so that the date makes it grow into another one
    write('/etc/default/useradd', settings + b'# defaults of useradd '.ljust(PAGE - len(settings) - 4, b'.') + b'\n')
    for path in ('/etc/login.defs', '/etc/default/useradd'):
        write(path + '.bak', b'an earlier backup\n')
    # not what a new file gets by itself: a lost mode or owner must show
    for path in ('/usr/share/pam-configs/tally', '/usr/share/pam-configs/pwquality', '/etc/login.defs',
                 '/etc/default/useradd'):
        os.chown(path, 0, grp.getgrnam('shadow').gr_gid)
        os.chmod(path, 0o640)


def is_tools_own(path):
    """Whether only pam-auth-update and debconf write a file."""
    return path.startswith(('/var/lib/pam/', '/var/cache/debconf/')) or bool(
        re.match(r'/etc/pam\.d/common-[a-z-]+\.pam-(old|new)$', path))
