# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""One policy to be written: how its files are before, how they become, and what a fault left of them."""

import collections
import os
import re
import subprocess
import sys

from machine import (SCRATCH, TRACE, Disk, apply_profiles, content_of, is_tools_own, wait_for_orphans, write)

STACKS = ['/etc/pam.d/common-' + kind
          for kind in ('account', 'auth', 'password', 'session', 'session-noninteractive')]

# rewritten: through temporary files; stack: corrected in place, where the module's lines carry another option
Policy = collections.namedtuple('Policy', 'name rewritten stack module option')
POLICIES = [
    Policy('lockout', ['/usr/share/pam-configs/tally'], '/etc/pam.d/common-auth', b'pam_tally.so', b'deny=5'),
    Policy('complexity', ['/usr/share/pam-configs/pwquality'], '/etc/pam.d/common-password', b'pam_pwquality.so',
           b'minlen=12'),
    Policy('expiration', ['/etc/login.defs', '/etc/default/useradd'], None, None, None),
]


class Bench:
    """Writes a policy, undisturbed or with a fault, and compares what is left with what may be."""

    def __init__(self, policy, program):
        self.policy = policy
        self.program = program
        self.watched = policy.rewritten + (STACKS if policy.stack else [])
        self.old = Disk()
        self.new = self.after_writing()
        # a stack that was corrected looks edited by hand to the tool: once more, and its options stand in order
        self.again = self.after_writing()
        self.stages = self.stages_of_stack() if policy.stack else {}
        self.old.restore()

    def after_writing(self):
        status = self.write_policy()
        if status != 0:
            sys.exit(f'cannot write the {self.policy.name} policy even undisturbed: exit status {status}')
        return Disk()

    def write_policy(self, victim=None, inject=''):
        """Runs the writing program; a victim is traced, with a fault if there is one."""
        environment = dict(os.environ, PATH=SCRATCH + ':' + os.environ['PATH'])
        command = [self.program, self.policy.name]
        if victim == 'process':
            command = ['strace', '-y', '-ttt', '-o', TRACE] + (['-e', 'inject=' + inject] if inject else []) + command
        elif victim:
            environment.update(VICTIM=victim, INJECT=inject)
        if os.path.exists(TRACE):
            os.unlink(TRACE)
        with open(SCRATCH + '/message', 'wb') as message:
            status = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, stdout=message,
                                    stderr=message, check=False).returncode
        wait_for_orphans(self.program)
        return status

    def stages_of_stack(self):
        """What the stack may be on its way: made by the tool and not yet corrected; corrected without the tool."""
        stack = self.policy.stack
        made = self.stack_from({path: self.new.content(path) for path in self.policy.rewritten})
        if self.corrected(made) != self.new.content(stack) or made == self.new.content(stack):
            sys.exit(f'{stack} does not become what pam-auth-update makes and the correction corrects')
        return {made: 'made', self.corrected(self.old.content(stack)): 'corrected'}

    def stack_from(self, profiles):
        """The stack as the tool makes it of these profiles."""
        self.old.restore()
        for path, content in profiles.items():
            write(path, content)
        apply_profiles()
        return content_of(self.policy.stack)

    def corrected(self, stack):
        return b'\n'.join(self.corrected_line(line) for line in stack.split(b'\n'))

    def corrected_line(self, line):
        pattern = rb'\b' + self.policy.option.split(b'=')[0] + rb'=\d+\b'
        if self.policy.module not in line or re.findall(pattern, line) in ([], [self.policy.option]):
            return line
        return b''.join(re.split(pattern, line)) + b' ' + self.policy.option

    def states(self):
        """What each file is that may change: old, new, made, corrected, short, of short, or whatever is wrong with it."""
        changing = [path for path in self.watched if self.old.content(path) != self.new.content(path)]
        states = {path: self.state(path) for path in changing}
        self.explain_stack(states)
        return states

    def state(self, path):
        if not os.path.lexists(path):
            return 'missing'
        content, owner, _ = Disk.look(path)
        if owner != self.old.owner(path):
            return f'of other mode or owner: {owner}'
        for name, disk in (('old', self.old), ('new', self.new)):
            if content == disk.content(path):
                return name
        if path == self.policy.stack and content in self.stages:
            return self.stages[content]
        return 'short' if self.new.content(path).startswith(content) else 'other'

    def explain_stack(self, states):
        """A stack that comes of a short profile is what the tool makes of such a profile."""
        stack = self.policy.stack
        if states.get(stack) != 'other' or 'short' not in states.values():
            return
        left = Disk()
        made = self.stack_from({path: left.content(path) for path in self.policy.rewritten})
        left.restore()
        if left.content(stack) in (made, self.corrected(made)):
            states[stack] = 'of short'

    def strays(self, tool_disturbed):
        """Files that are touched and should not be."""
        changing = [path for path in self.watched if self.old.content(path) != self.new.content(path)]
        known = set(changing) | {path + '.tmp' for path in self.policy.rewritten}
        if not self.policy.stack:
            known |= {path + '.bak' for path in self.policy.rewritten}
        touched = {path for path in self.old.touched() - known if self.differs(path)}
        if self.policy.stack:
            touched = {path for path in touched if not is_tools_own(path)}
            touched |= set() if tool_disturbed else set(self.tools_files())
        return sorted(touched)

    def differs(self, path):
        """Whether a touched file has another content, mode or owner: the tool writes anew what it doesn't change."""
        if path not in self.old.files or not os.path.lexists(path):
            return True
        return Disk.look(path)[:2] != self.old.files[path][:2]

    def tools_files(self):
        """What the tool makes for a moment, and an undisturbed run does not leave."""
        return [path for path in Disk.paths() - set(self.new.files) if is_tools_own(path)]

    def wrong_backups(self):
        """Backups that are neither an earlier one nor the old content; none is one too, for a moment."""
        if self.policy.stack:
            return []
        return [path + '.bak' for path in self.policy.rewritten if content_of(path + '.bak') not in (
            None, self.old.content(path), self.old.content(path + '.bak'))]

    def temporary_files(self):
        return [path + '.tmp' for path in self.policy.rewritten if os.path.exists(path + '.tmp')]

    def unlike_undisturbed(self, backups):
        """What a repetition left wrong; with the backups that it should have made."""
        wrong = [path for path in self.watched
                 if not any(os.path.exists(path) and Disk.look(path)[:2] == disk.files[path][:2]
                            for disk in (self.new, self.again))]
        if not self.policy.stack:
            wrong += [path + '.bak' for path in backups if content_of(path + '.bak') != backups[path]]
        return wrong + self.temporary_files()

    def open_temporary_files(self):
        """Temporary files that more people may read or write than the files that they are for."""
        return [path for path in self.temporary_files()
                if os.stat(path).st_mode & 0o777 & ~int(self.old.owner(path[:-len('.tmp')])[0], 8)]
