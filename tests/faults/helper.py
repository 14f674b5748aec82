# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""The installed helper at its work: started by the bus, asked by a caller, traced, and disturbed where asked for."""

import os
import shutil
import signal
import struct
import subprocess
import sys
import time

from bench import Bench
from machine import SCRATCH, TRACE, TRACED, write_program

# of a build for Frameworks 6, or else for 5
HELPERS = ['/usr/lib/kf6/kauth/libexec/accountpolicieshelper', '/usr/lib/kauth/libexec/accountpolicieshelper']
HELPER = next(filter(os.path.exists, HELPERS), None)
REAL_HELPER = SCRATCH + '/accountpolicieshelper'
INJECT = SCRATCH + '/inject'
PROCESS = SCRATCH + '/process'
ENDS_WITHIN = 60  # seconds

# what writeonce writes
ARGUMENTS = {
    'lockout': ('writeaccountslockoutpolicy', {'deny': 5, 'unlock_time': 900}),
    'complexity': ('writepasswordcomplexitypolicy', {'minlen': 12, 'dcredit': -1}),
    'expiration': ('writepasswordexpirationpolicy', {'maxInterval': 90, 'minInterval': 1, 'warningInterval': 14,
                                                     'inactiveInterval': 30, 'expireDate': 24000}),
}


def put_traced_helper():
    """Puts a program in the helper's place that traces it, and disturbs it once if there is a fault waiting."""
    shutil.copy2(HELPER, REAL_HELPER)
    write_program(HELPER, f'''#!/bin/sh
if [ -e {INJECT} ]; then
    INJECT=$(cat {INJECT})
    rm {INJECT}
fi
export INJECT
sh -c 'echo $$ >{PROCESS}; exec {TRACED} {REAL_HELPER}' &
wait $!
# as its unit does: Qt 6 has a process wait for its parent before it becomes a tool, and until then it holds the bus's
# connection; for a parent that was killed it would wait for good
for left in /proc/[0-9]*; do
    [ "$(readlink $left/exe)" = {REAL_HELPER} ] && grep -q '^PPid:.1$' $left/status && kill -9 ${{left#/proc/}}
done
'''.encode())


def request(action, arguments):
    """An action and its numbers as QDataStream writes them."""
    numbers = b''.join(encoded(key) + struct.pack('>IBi', 2, 0, value) for key, value in arguments.items())
    return encoded(action) + struct.pack('>I', len(arguments)) + numbers


def encoded(text):
    data = text.encode('utf-16-be')
    return struct.pack('>I', len(data)) + data


def wait_until(done, what):
    end = time.monotonic() + ENDS_WITHIN
    while not done():
        if time.monotonic() > end:
            sys.exit(f'{what} within {ENDS_WITHIN} s')
        time.sleep(0.002)


def end_helper():
    """Ends the helper, if there is one, and waits for what it started."""
    if os.path.exists(PROCESS):
        with open(PROCESS, encoding='ascii') as file:
            tracer = file.read().strip()
        os.unlink(PROCESS)
        end_child_of(tracer)
        wait_until(lambda: not os.path.exists('/proc/' + tracer), 'the helper has not ended')
    wait_until(lambda: not any(is_tool(process) for process in os.listdir('/proc') if process.isdigit()),
               'what a killed helper left running has not ended')


def end_child_of(tracer):
    try:
        with open(f'/proc/{tracer}/task/{tracer}/children', encoding='ascii') as file:
            children = file.read().split()
        for child in children:
            os.kill(int(child), signal.SIGTERM)
    except (FileNotFoundError, ProcessLookupError):
        pass  # ended by itself


def is_tool(process):
    try:
        with open(f'/proc/{process}/cmdline', 'rb') as file:
            return b'--force' in file.read().split(b'\0')
    except (FileNotFoundError, ProcessLookupError):
        return False


class HelperBench(Bench):
    """Has the policy written by the helper; the program is the caller."""

    def write_policy(self, victim=None, inject=''):
        end_helper()
        if inject:
            with open(INJECT, 'w', encoding='ascii') as file:
                file.write(inject)
        if os.path.exists(TRACE):
            os.unlink(TRACE)
        reply = subprocess.run([self.program], input=request(*ARGUMENTS[self.policy.name]), stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, check=True).stdout
        end_helper()
        return self.status(reply)

    @staticmethod
    def status(reply):
        """As a writing process would end: 0 for success, 1 for a failure; 2 if the helper did not answer."""
        if struct.unpack('>I', reply[:4])[0] != 0:
            return 2
        return 1 if encoded('error') in reply else 0
