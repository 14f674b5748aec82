#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""A second reading of the files and options of PAM's modules: by the modules themselves, and by Augeas.

Standard input: one object of JSON a line. "reader" says who judges; "content" is the file's, in base64, and "options" are
those of the module's line; "values" is what the first reading found. Standard output: a line for each with what the judge
finds to be otherwise, empty if nothing is. To be run in the sandbox, with the clock stopped (faketime): locks are tried to
the second.
"""

import base64
import ctypes
import glob
import json
import os
import pwd
import struct
import subprocess
import sys
import time

NOW = int(time.time())
SERVICE = '/etc/pam.d/secondreading'
USER, CHIEF, ROOT = 'secondreader', 'secondchief', 'root'
PAM_FAIL_DELAY = 10
TEXT_STYLES = (3, 4)
PAM_SUCCESS, PAM_AUTH_ERR, PAM_CONV_ERR = 0, 7, 19


class Message(ctypes.Structure):
    _fields_ = [('style', ctypes.c_int), ('text', ctypes.c_char_p)]


class Reply(ctypes.Structure):
    _fields_ = [('text', ctypes.c_void_p), ('code', ctypes.c_int)]


TALK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int, ctypes.POINTER(ctypes.POINTER(Message)),
                        ctypes.POINTER(ctypes.POINTER(Reply)), ctypes.c_void_p)
DELAY = ctypes.CFUNCTYPE(None, ctypes.c_int, ctypes.c_uint, ctypes.c_void_p)


class Conversation(ctypes.Structure):
    _fields_ = [('talk', TALK), ('data', ctypes.c_void_p)]


class Pam:
    """Talks to libpam, with an answer to each question."""

    def __init__(self):
        self.pam = ctypes.CDLL('libpam.so.0')
        # else it would load them for each question
        self.kept = [ctypes.CDLL(path) for path in glob.glob('/usr/lib/*/security/pam_[fp]*.so')]
        self.libc = ctypes.CDLL(None)
        self.libc.calloc.restype = self.libc.strdup.restype = ctypes.c_void_p
        self.conversation = Conversation(TALK(self.talk), None)
        self.delay = DELAY(self.note_delay)
        self.answers, self.texts, self.questions, self.waits = [], 0, 0, 0

    def talk(self, count, messages, replies, _):
        replies[0] = ctypes.cast(self.libc.calloc(count, ctypes.sizeof(Reply)), ctypes.POINTER(Reply))
        for i in range(count):
            if messages[i].contents.style in TEXT_STYLES:
                self.texts += 1
                continue
            self.questions += 1
            if not self.answers:
                return PAM_CONV_ERR
            replies[0][i].text = self.libc.strdup(self.answers.pop(0))
        return PAM_SUCCESS

    def note_delay(self, _, microseconds, __):
        self.waits = microseconds

    def run(self, function, user, answers=()):
        self.answers, self.texts, self.questions, self.waits = list(answers), 0, 0, 0
        handle = ctypes.c_void_p()
        self.pam.pam_start(b'secondreading', user.encode(), ctypes.byref(self.conversation), ctypes.byref(handle))
        self.pam.pam_set_item(handle, PAM_FAIL_DELAY, ctypes.cast(self.delay, ctypes.c_void_p))
        result = getattr(self.pam, function)(handle, 0)
        self.pam.pam_end(handle, result)
        return result


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'wb') as file:
        file.write(content)


class Faillock:
    """Lets pam_faillock judge accounts whose failures are made up."""

    most_failures = 1024  # are kept
    defaults = {'deny': 3, 'fail_interval': 900, 'unlock_time': 600, 'dir': '/var/run/faillock'}

    def __init__(self, pam):
        self.pam = pam

    def prepare(self, record):
        write('/etc/security/faillock.conf', base64.b64decode(record['content']))
        options = ' '.join(record['options'])
        write(SERVICE, f'auth required pam_faillock.so preauth {options}\nauth required pam_permit.so\n'.encode())

    def is_locked(self, user, ages):
        path = f'{self.values["dir"]}/{user}'
        write(path, b''.join(struct.pack('=52sHHQ', b'tty1', 0, 1, NOW - age) for age in ages))
        result = self.pam.run('pam_authenticate', user)
        os.unlink(path)
        if result not in (PAM_SUCCESS, PAM_AUTH_ERR):
            sys.exit(f'pam_faillock answers {result}')
        return result == PAM_AUTH_ERR

    def wrong(self, values):
        self.values = {**self.defaults, **values}
        deny = self.values['deny']
        if not 1 <= deny <= self.most_failures or self.values['fail_interval'] == 0:
            return ['deny'] * self.is_locked(USER, [0] * self.most_failures)
        return [name for name, agrees in self.claims(deny) if not agrees]

    def opens(self, user, seconds, deny):
        """Whether the account is locked for just so many seconds; 0 is for ever."""
        longer = self.is_locked(user, [(seconds or 10 ** 9) + 1] * deny)
        return self.is_locked(user, [seconds] * deny) and longer == (seconds == 0)

    def claims(self, deny):
        values = self.values
        yield 'deny', self.is_locked(USER, [0] * deny) and not self.is_locked(USER, [0] * (deny - 1))
        self.is_locked(USER, [0] * deny)
        yield 'silent', (self.pam.texts == 0) == bool(values.get('silent'))
        yield 'nodelay', (self.pam.waits == 0) == bool(values.get('nodelay'))
        yield 'unlock_time', self.opens(USER, values['unlock_time'], deny)
        if deny > 1:
            interval = values['fail_interval']
            yield 'fail_interval', (not self.is_locked(USER, [0] * (deny - 1) + [interval])
                                    and self.is_locked(USER, [0] * (deny - 1) + [interval - 1]))
        locks_root = bool(values.get('even_deny_root'))
        root_time = values.get('root_unlock_time', values['unlock_time'])
        yield 'even_deny_root', self.is_locked(ROOT, [0] * deny) == locks_root
        if locks_root:
            yield 'root_unlock_time', self.opens(ROOT, root_time, deny)
        is_chief = values.get('admin_group') == 'chiefs'
        yield 'admin_group', self.is_locked(CHIEF, [0] * deny) == (not is_chief or locks_root)
        if is_chief and locks_root:
            yield 'root_unlock_time of chiefs', self.opens(CHIEF, root_time, deny)


class Pwquality:
    """Lets libpwquality read the file in its own place."""

    numbers = {'difok': 1, 'minlen': 3, 'dcredit': 4, 'ucredit': 5, 'lcredit': 6, 'ocredit': 7, 'minclass': 8,
               'maxrepeat': 9, 'maxclassrepeat': 11, 'gecoscheck': 12, 'maxsequence': 14, 'dictcheck': 15,
               'usercheck': 16, 'enforcing': 17, 'retry': 18, 'enforce_for_root': 19, 'local_users_only': 20,
               'usersubstr': 21}
    switches = ('gecoscheck', 'dictcheck', 'usercheck', 'enforcing', 'enforce_for_root', 'local_users_only')

    def __init__(self):
        self.library = ctypes.CDLL('libpwquality.so.1')
        self.library.pwquality_default_settings.restype = ctypes.c_void_p
        write('/etc/security/pwquality.conf', b'')

    def prepare(self, record):
        write('/etc/security/pwquality.conf.d/50-accountpolicies.conf', base64.b64decode(record['content']))

    def wrong(self, values):
        found, error = self.read(True)
        defaults, _ = self.read(False)
        wrong = [] if (error != 0) == values.pop('error') else ['error']
        return wrong + [name for name in self.numbers if values.get(name, defaults[name]) != found[name]]

    def read(self, reads_file):
        settings = ctypes.c_void_p(self.library.pwquality_default_settings())
        details = ctypes.c_void_p()
        error = self.library.pwquality_read_config(settings, None, ctypes.byref(details)) if reads_file else 0
        values = {}
        for name, number in self.numbers.items():
            value = ctypes.c_int()
            self.library.pwquality_get_int_value(settings, number, ctypes.byref(value))
            values[name] = bool(value.value) if name in self.switches else value.value
        self.library.pwquality_free_settings(settings)
        return values, error


class Pwhistory:
    """Lets pam_pwhistory keep old passwords and refuse new ones, and counts."""

    kept_file = '/etc/security/opasswd'
    old_hash = '$1$abcdefgh$YDdzHM18wKFQPDapx52qM/'
    old_password = b'Old-one-1'
    more_than_most = 450
    most_tries = 50

    def __init__(self, pam):
        self.pam = pam
        self.number = pwd.getpwnam(USER).pw_uid

    def prepare(self, record):
        write('/etc/security/pwhistory.conf', base64.b64decode(record['content']))
        # the present one comes to them
        self.most = 400 if record['options'] else self.more_than_most + 1
        options = ' '.join(record['options'])
        # it asks for the password, and the next module takes it
        write(SERVICE, f'password required pam_pwhistory.so {options}\npassword required pam_permit.so\n'.encode())

    def wrong(self, values):
        return [name for name, agrees in self.claims({'remember': 10, 'retry': 1, **values}) if not agrees]

    def change(self, hashes, answers):
        write(self.kept_file, f'{USER}:{self.number}:{len(hashes)}:{",".join(hashes)}\n'.encode())
        return self.pam.run('pam_chauthtok', USER, answers)

    def kept(self):
        """How many old ones are there after a change."""
        self.change(['*'] * self.more_than_most, [b'Some-new-0ne'] * 2)
        with open(self.kept_file, encoding='utf-8') as file:
            return int(file.read().split(':')[2])

    def claims(self, values):
        if values['remember'] < 1:
            yield 'remember', self.kept() == self.more_than_most
            return
        # a number below 0 is none of those that can be counted
        if values['retry'] > 0:
            tries = min(values['retry'], self.most_tries)
            self.change([], [b'one', b'other'] * tries)
            yield 'retry', self.pam.questions == 2 * tries + (tries < values['retry'])
            yield 'remember', self.kept() == min(values['remember'], self.most)
            # it refuses one less than it keeps
            result = self.change([self.old_hash], [self.old_password] * 2 * tries)
            if values['remember'] > 1:
                yield 'enforce_for_root', (result != PAM_SUCCESS) == bool(values.get('enforce_for_root'))


class Augeas:
    """Reads with lenses; names as a lens calls them, without what it adds."""

    root = '/run/lenses'

    def nodes(self, contents, lens):
        """(path, value) of each node, of each content."""
        for number, content in enumerate(contents):
            write(f'{self.root}/{lens}/{number}', content)
        commands = (f'set /augeas/load/x/lens {lens}.lns\nset /augeas/load/x/incl /{lens}/*\nload\n'
                    'print /files\nprint /augeas/files//error\n')
        output = subprocess.run(['augtool', '--noautoload', '--root', self.root], input=commands.encode(),
                                stdout=subprocess.PIPE, check=True).stdout.decode()
        nodes = [[] for _ in contents]
        for line in output.splitlines():
            if line.startswith('/augeas'):
                sys.exit(f'{lens} cannot read a plain file: {line}')
            path, _, value = line.partition(' = ')
            parts = path.split('/', 4)
            if len(parts) == 5:
                nodes[int(parts[3])].append((parts[4], value[1:-1]))
        return nodes


def names_and_values(nodes, values):
    """What the names have for the value that counts; the first reading has only those that it knows."""
    found = {}
    for path, value in nodes:
        name = path.split('[')[0]
        if name in values['known'] and not (values['first'] and name in found):
            found[name] = value
    return [name for name in values['known'] if found.get(name) != values['texts'].get(name)]


def stack_of(nodes):
    """A line of the stack for each, as the first reading tells it."""
    lines = []
    for path, value in nodes:
        name = path.split('/')[-1].split('[')[0]
        if path.split('[')[0] == 'include':
            lines.append(['@include', '', value])
        elif name == 'type':
            lines.append([value])
        elif name in ('control', 'module'):
            lines[-1].append(value)
        elif name == 'argument':
            lines[-1].append(value[1:-1] if value.startswith('[') else value)
    return lines


def judge_by_augeas(records):
    nodes = {}
    for lens in ('Properties', 'Pam'):
        chosen = [i for i, record in enumerate(records) if record['reader'] == lens]
        contents = [base64.b64decode(records[i]['content']) for i in chosen]
        nodes.update(zip(chosen, Augeas().nodes(contents, lens) if chosen else []))
    return nodes


def main():
    records = [json.loads(line) for line in sys.stdin]
    pam = Pam()
    judges = {'faillock': Faillock(pam), 'pwquality': Pwquality(), 'pwhistory': Pwhistory(pam)}
    nodes = judge_by_augeas(records)
    for number, record in enumerate(records):
        reader = record['reader']
        if reader == 'Properties':
            wrong = names_and_values(nodes[number], record['values'])
        elif reader == 'Pam':
            found = stack_of(nodes[number])
            wrong = [] if found == record['values']['lines'] else [str(found)]
        else:
            judges[reader].prepare(record)
            wrong = judges[reader].wrong(record['values'])
        print(', '.join(wrong))


main()
