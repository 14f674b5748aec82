# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Which neighbours can exchange their places without a difference.

What a statement touches is known where it assigns and where it calls what is listed here; all else may do anything.
It touches paths of names, such as ("outcome", "exitCode"); of an object's own members the object is left out.
"""

import re

from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

# values of their own: const operations look at them, the others change them and nothing else
VALUES = re.compile(r"Q(String|ByteArray|Latin1String|Latin1Char|Char|List|StringList|Vector|Map|Hash|Set|Variant|Pair"
                    r"|Json(Object|Array|Value)|Date|Time|DateTime|Flags|StringBuilder)|basic_string")
# look at what they belong to; connect() and a lambda name what is called by the event loop, or later at least
LOOKS = re.compile(r"AbstractTask::(result|values)|TaskResult::(description|state|message)|QProcess::(error|exitCode)"
                   r"|QIODevice::errorString|unique_ptr::(get|operator->)|\w*::(tr|translate|operator[+|]|min|max)"
                   r"|QObject::connect")
# change the object that they belong to; what comes of it comes by the event loop, which nothing that is listed here runs
LATER = re.compile(r"QTimer::(start|stop)|QEventLoop::quit")
# change what their names say, but for those that go to the disk
SETTERS = re.compile(r"(?:Q(?!File|Dir|Settings)\w+|AbstractTask|TaskResult)::set([A-Z])(\w+)")
# take the elements of a list in any order: these ask for keys, or for the least
UNORDERED = re.compile(r"Q(Map|Hash|Set|JsonObject)::Q\w+|std::(min|max)")


class Unknown(Exception):
    """More may be touched than what is known."""


def independent(left, right):
    """Whether neither of two statements touches what the other changes."""
    try:
        first, second = list(touched(left)), list(touched(right))
    except Unknown:
        return False
    return not any(a[:len(b)] == b[:len(a)] for a, changes in first for b, others in second if changes or others)


def unordered_lists(cursor):
    """The braced lists that a call takes in any order."""
    return parts(cursor) if cursor.kind == Kind.CALL_EXPR and UNORDERED.fullmatch(called_by(cursor)) else []


def touched(node, runs=True):
    """Paths, each with whether it is changed."""
    node, children = bare(node), parts(node)
    if node.kind == Kind.LAMBDA_EXPR and any(c.spelling == "qstring_literal" for c in node.walk_preorder()):
        return  # QStringLiteral
    runs = runs and node.kind != Kind.LAMBDA_EXPR
    changed = changed_by(node, children) if runs else None
    if changed is not None:
        yield changed, True
        children = children[1:]
    elif is_place(node) or (runs and node.kind == Kind.MEMBER_REF_EXPR and not (children and children[0].kind == Kind.CALL_EXPR)):
        yield path_of(node), False
        children = [c for c in children if not is_place(c) or c.type.kind == TypeKind.POINTER]
    for child in children:
        yield from touched(child, runs)


def changed_by(node, children):
    """The path of what is changed here, not further below; None if nothing is."""
    first = next(node.get_tokens()).spelling if node.kind == Kind.UNARY_OPERATOR else "!"
    assigns = node.kind == Kind.BINARY_OPERATOR and any(t.spelling == "=" for t in node.get_tokens())
    if assigns or node.kind == Kind.COMPOUND_ASSIGNMENT_OPERATOR or (first == "&" and is_place(children[0])):
        return target(children[0])
    if node.kind == Kind.CXX_DELETE_EXPR or first not in "!-~&":
        raise Unknown
    return changed_by_call(node, children) if node.kind == Kind.CALL_EXPR else None


def changed_by_call(call, children):
    name, operation = called_by(call), call.referenced
    changes = operation and operation.kind == Kind.CXX_METHOD and not operation.is_static_method()
    value, setter = VALUES.fullmatch(name.split("::")[0]), SETTERS.fullmatch(name)
    looks = LOOKS.fullmatch(name) or (children and children[0].kind == Kind.LAMBDA_EXPR)
    if looks or (value and not (changes and not operation.is_const_method())):
        return None
    if not changes or not (value or setter or LATER.fullmatch(name)):
        raise Unknown
    path = target(children[0])
    path = path if is_place(children[0]) else path[:-1]
    key = setter.group(1).lower() + setter.group(2) if setter else name == "QMap::insert" and literal_in(children[1])
    return path + ((key,) if key else ())


def target(node):
    if any(is_place(c) and c.type.kind == TypeKind.POINTER for c in node.walk_preorder()):
        raise Unknown
    return path_of(node)


def path_of(node):
    children = parts(node)
    if node.kind == Kind.CALL_EXPR and LOOKS.fullmatch(called_by(node)):
        return path_of(children[0])
    if node.kind == Kind.MEMBER_REF_EXPR:
        # what a pointer leads to may be this object
        own = not children or (children[0].type.kind == TypeKind.POINTER and children[0].kind != Kind.CALL_EXPR)
        return (() if own else path_of(children[0])) + (node.spelling,)
    if not is_place(node) or is_reference(node.referenced.type):
        raise Unknown
    return (node.spelling,)


def is_place(node):
    names = node.kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR, Kind.VARIABLE_REF)
    return names and node.referenced.kind in (Kind.VAR_DECL, Kind.PARM_DECL, Kind.FIELD_DECL)


def is_reference(type):
    """Not to what is const: nobody changes that meanwhile."""
    return type.kind == TypeKind.LVALUEREFERENCE and not type.get_pointee().is_const_qualified()


def literal_in(node):
    """The text of a key, be it that of a constant; None if it has none of its own."""
    constant = node.referenced if node.kind == Kind.DECL_REF_EXPR else node
    return next((c.spelling for c in constant.walk_preorder() if c.kind == Kind.STRING_LITERAL), None)


def called_by(call):
    called = call.referenced
    return "%s::%s" % (called.semantic_parent.spelling, called.spelling) if called else ""


def bare(cursor):
    """Without conversions and parentheses."""
    children = list(cursor.get_children())
    wraps = cursor.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR) and len(children) == 1
    return bare(children[0]) if wraps else cursor


def parts(node):
    return [bare(c) for c in bare(node).get_children()]
