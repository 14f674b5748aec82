# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Where a source can be otherwise, in clang's view of it."""

import collections
import json
import os
import re
import shlex
import sys

from clang.cindex import CursorKind, Index, TokenKind

from independence import independent, unordered_lists

Mutant = collections.namedtuple("Mutant", "path start end text kind")

OPERATORS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&", "+": "-",
             "-": "+", "*": "+", "%": "*", "|": "&", "&": "|", "+=": "-=", "-=": "+=", "<<": ">>", ">>": "<<"}
ENCODINGS = {"fromLocal8Bit": "fromUtf8", "fromUtf8": "fromLocal8Bit", "toLocal8Bit": "toUtf8", "toUtf8": "toLocal8Bit",
             "localText": "QString::fromUtf8", "wholeLocalText": "localText",
             "localBytes": "[](const QString &text) { return text.toUtf8(); }"}
# what a pattern can lose or trade without falling apart
PATTERN_PIECES = [(r"\\s", "S"), (r"\\d", "D"), (r"\\b", ""), (r"\\\.", "."), (r"(?<=[\w)\]])\*", "+"),
                  (r"(?<=[\w)\]+*])\+", "*"), (r"(?<=[\w)\-=])\?(?!:)", ""), (r"\|", "x"), (r"\^", "")]


def is_pattern(text):
    return bool(re.search(r"\\[sdbS.]|\[\^|\(\?", text))


def token_mutants(path, tokens):
    ahead = tokens[1:] + 2 * tokens[-1:]
    for before, token, *behind in zip([None] + tokens, tokens, ahead, ahead[1:]):
        start, end = token.extent.start.offset, token.extent.end.offset
        text = token.spelling.encode().decode("latin-1")  # a character for each byte, as offsets count them
        if before is not None and before.spelling in ("include", "default"):
            continue
        if token.kind == TokenKind.KEYWORD and text in ("true", "false"):
            yield Mutant(path, start, end, "false" if text == "true" else "true", "bool")
        elif token.kind == TokenKind.KEYWORD and text in ("continue", "break"):
            yield Mutant(path, start, end, "break" if text == "continue" else "continue", "jump")
        elif token.kind == TokenKind.LITERAL and re.fullmatch(r"\d+", text):
            yield Mutant(path, start, end, other_number(text, before, behind), "number")
        elif token.kind == TokenKind.IDENTIFIER and text in ENCODINGS:
            yield Mutant(path, start, end, ENCODINGS[text], "encoding")
        elif token.kind == TokenKind.LITERAL and text.startswith("'"):
            yield Mutant(path, start, end, "'~'" if text != "'~'" else "'.'", "text")
        elif token.kind == TokenKind.LITERAL and re.match(r'R?"', text):
            yield from text_mutants(path, start, text)
        elif token.kind == TokenKind.PUNCTUATION and text in ("==", "!=", "&&", "||"):
            yield Mutant(path, start, end, OPERATORS[text], "operator")
        elif token.kind == TokenKind.PUNCTUATION and text == "!":
            yield Mutant(path, start, end, "", "operator")


def other_number(text, before, behind):
    """One that a test can tell from it; the same where there is none."""
    if before.spelling in ("<", ">=") and behind[0].spelling in (")", "&&", "||", "?", ";"):
        return text  # the operator's own mutant is this one
    if (before.spelling, behind[0].spelling, behind[1].spelling) == ("[", "]", "="):
        return text  # an array has room for what it begins with, and more
    if behind[1].spelling == "// ms":
        return str(2 * int(text)) if int(text) >= 1000 else text  # one more is less than the scheduler's noise
    return str(int(text) + 1)


def text_mutants(path, start, text):
    behind = text.rindex(")") if text.startswith("R") else len(text) - 1
    yield Mutant(path, start + behind, start + behind, "~", "text")
    if not is_pattern(text):
        return
    for piece, other in PATTERN_PIECES:
        for found in re.finditer(piece, text):
            changed = found.group()[:-1] + other if piece in (r"\\s", r"\\d") else other
            yield Mutant(path, start + found.start(), start + found.end(), changed, "pattern")


def cursor_mutants(path, cursor, source):
    children = list(cursor.get_children())
    if cursor.kind == CursorKind.BINARY_OPERATOR and len(children) == 2:
        yield from operator_mutant(path, children, source)
    elif cursor.kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT) and children[0].kind.is_expression():
        start, end = span(children[0])
        yield Mutant(path, start, end, "!(%s)" % source[start:end], "condition")
    elif cursor.kind == CursorKind.CONDITIONAL_OPERATOR and len(children) == 3:
        yield from swapped(path, children[1], children[2], source, "branches")
    elif cursor.kind == CursorKind.INIT_LIST_EXPR:
        for left, right in zip(children, children[1:]):
            yield from swapped(path, left, right, source, "order")
    elif cursor.kind == CursorKind.COMPOUND_STMT:
        yield from statement_mutants(path, children, source)


def operator_mutant(path, operands, source):
    start, end = span(operands[0])[1], span(operands[1])[0]
    found = re.fullmatch(r"\s*([-+*%|&<>=!]+)\s*", source[start:end])
    # those that are tokens for sure are found among the tokens
    if found and found.group(1) in OPERATORS and found.group(1) not in ("==", "!=", "&&", "||"):
        yield Mutant(path, start + found.start(1), start + found.end(1), OPERATORS[found.group(1)], "operator")


def statement_mutants(path, statements, source):
    plain = (CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
             CursorKind.UNEXPOSED_EXPR, CursorKind.UNARY_OPERATOR)
    for statement in statements:
        start, end = span(statement)
        if statement.kind in plain and not source[start:end].startswith(("Q_", "tr(")):
            yield Mutant(path, start, end, "", "removed")
    for left, right in zip(statements, statements[1:]):
        if left.kind in plain and right.kind in plain and not independent(left, right):
            yield from swapped(path, left, right, source, "order")


def swapped(path, left, right, source, kind):
    (start, middle), (behind, end) = span(left), span(right)
    if start < middle <= behind < end and source[start:middle] != source[behind:end]:
        text = source[behind:end] + source[middle:behind] + source[start:middle]
        yield Mutant(path, start, end, text, kind)


def span(cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset


def walk(cursor, path):
    for child in cursor.get_children():
        if child.location.file and child.location.file.name == path:
            yield child
            yield from walk(child, path)


def mutants_of(root, path, arguments):
    """All mutants of one file below a root; offsets count bytes, so the source is read as such."""
    full = str(root / path)
    unit = Index.create().parse(full, ["-x", "c++"] + arguments)
    errors = [d for d in unit.diagnostics if d.severity >= 3]
    if errors:
        sys.exit("clang does not understand %s: %s" % (path, errors[0]))
    source = (root / path).read_bytes().decode("latin-1")
    found = list(token_mutants(path, list(unit.get_tokens(extent=unit.cursor.extent))))
    unordered = []
    for cursor in walk(unit.cursor, full):
        unordered += unordered_lists(cursor)
        if cursor not in unordered:
            found += cursor_mutants(path, cursor, source)
    return sorted(set(m for m in found if source[m.start:m.end] != m.text))


def compile_arguments(root, build):
    """What each source below the root is compiled with, as far as clang needs it."""
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        words = shlex.split(entry["command"])
        flags = [w for i, w in enumerate(words) if w.startswith(("-I", "-D", "-std", "-f"))]
        for i, word in enumerate(words):
            if word == "-isystem":
                flags += [word, words[i + 1]]
        commands[os.path.relpath(entry["file"], root)] = flags
    return commands


def arguments_for(path, commands):
    """Those of the source itself; for a header those of any source of its folder."""
    nearest = [f for name, f in sorted(commands.items()) if name.startswith(os.path.dirname(path))]
    return commands.get(path) or nearest[0]
