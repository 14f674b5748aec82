# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Which neighbours can exchange their places without a difference.

What a statement touches is known where it assigns and where it calls what is listed here; all else may do anything.
It touches paths of names, such as ("outcome", "exitCode"); of an object's own members the object is left out.
"""

import re

from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

# values: const operations look at them, the others change them and nothing else
VALUES = re.compile(r"Q(String|ByteArray|Latin1String|Latin1Char|Char|List|StringList|Vector|Map|Hash|Set|Variant|Pair"
                    r"|Json(Object|Array|Value)|Date|Time|DateTime|Flags|StringBuilder)|basic_string")
# look at what they belong to, or at nothing; connect() and a lambda only name what is called later
LOOKS = re.compile(r"AbstractTask::(result|values)|TaskResult::(description|state|message)|QProcess::(error|exitCode)"
                   r"|QIODevice::errorString|unique_ptr::(get|operator->)|\w*::(tr|translate|operator[+|]|min|max)"
                   r"|QObject::connect|::close")
# change what they belong to alone; what comes of a timer or a loop comes when control is back in the event loop
OWN = re.compile(r"QTimer::(start|stop)|QEventLoop::quit|QFileDevice::close|QDBusArgument::end\w+"
                 r"|TaskResult::(succeed|fail)")
# change what their names say, but for those that reach for something outside
SETTERS = re.compile(r"(?:Q(?!File|Dir|Settings|Socket)\w+|AbstractTask|TaskResult)::set([A-Z])(\w+)")
# change what stands under the key that is given, and nothing else
KEYED = ("QMap::insert", "QJsonObject::insert")
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
    return parts(cursor) if cursor.kind == Kind.CALL_EXPR and UNORDERED.fullmatch(name_of(cursor)) else []


def touched(node, runs=True):
    """Paths, each with whether it is changed."""
    children = parts(node)
    if node.kind == Kind.LAMBDA_EXPR and any(c.spelling == "qstring_literal" for c in node.walk_preorder()):
        return  # QStringLiteral
    runs = runs and node.kind != Kind.LAMBDA_EXPR
    changed = changed_by(node, children) if runs else None
    if changed is not None:
        yield changed, True
        children = children[1:]
    elif is_place(node) or (runs and node.kind == Kind.MEMBER_REF_EXPR and is_named(children)):
        yield path_of(node), False
        children = [c for c in children if not is_place(c) or c.type.kind == TypeKind.POINTER]
    for child in children:
        yield from touched(child, runs)


def changed_by(node, children):
    """The path of what is changed here, not further below; None if nothing is."""
    sign = next(node.get_tokens()).spelling if node.kind == Kind.UNARY_OPERATOR else "!"
    assigns = node.kind == Kind.BINARY_OPERATOR and any(t.spelling == "=" for t in node.get_tokens())
    if assigns or node.kind == Kind.COMPOUND_ASSIGNMENT_OPERATOR or (sign == "&" and is_place(children[0])):
        return target(children[0])
    if node.kind == Kind.CXX_DELETE_EXPR or sign not in "!-~&":
        raise Unknown
    return changed_by_call(node, children) if node.kind == Kind.CALL_EXPR else None


def changed_by_call(call, children):
    name, operation = name_of(call), call.referenced
    member = operation and operation.kind == Kind.CXX_METHOD and not operation.is_static_method()
    value, setter = VALUES.fullmatch(name.split("::")[0]), SETTERS.fullmatch(name)
    literal = children and children[0].kind == Kind.LAMBDA_EXPR
    if literal or LOOKS.fullmatch(name) or (value and not (member and not operation.is_const_method())):
        return None
    if operation and operation.kind == Kind.FUNCTION_DECL and len(children) == 1 and touches_nothing(operation):
        return None
    if not member or not (value or setter or OWN.fullmatch(name)):
        raise Unknown
    key = setter.group(1).lower() + setter.group(2) if setter else name in KEYED and literal_in(children[1])
    path = target(children[0])
    return (path if is_place(children[0]) else path[:-1]) + ((key,) if key else ())


def touches_nothing(function):
    return function.get_definition() is not None and not list(touched(function.get_definition()))


def target(node):
    if any(is_place(c) and c.type.kind == TypeKind.POINTER for c in node.walk_preorder()):
        raise Unknown
    return path_of(node)


def path_of(node):
    children = parts(node)
    if node.kind == Kind.CALL_EXPR and LOOKS.fullmatch(name_of(node)):
        return path_of(children[0])
    if node.kind == Kind.MEMBER_REF_EXPR:
        # what a pointer leads to may be this object
        own = not children or (children[0].type.kind == TypeKind.POINTER and is_named(children))
        return (() if own else path_of(children[0])) + (node.spelling,)
    type = node.referenced.type if is_place(node) else None
    if type is None or (type.kind == TypeKind.LVALUEREFERENCE and not type.get_pointee().is_const_qualified()):
        raise Unknown
    return (node.spelling,)


def is_place(node):
    names = node.kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR, Kind.VARIABLE_REF)
    return names and node.referenced.kind in (Kind.VAR_DECL, Kind.PARM_DECL, Kind.FIELD_DECL)


def is_named(owners):
    """Whether the object of a member is no call's result; this object has no name, and needs none."""
    return not any(owner.kind == Kind.CALL_EXPR for owner in owners)


def literal_in(node):
    """The text of a key, be it that of a constant; None if it has none of its own."""
    constant = node.referenced if node.kind == Kind.DECL_REF_EXPR else node
    return next((c.spelling for c in constant.walk_preorder() if c.kind == Kind.STRING_LITERAL), None)


def name_of(call):
    called = call.referenced
    return "%s::%s" % (called.semantic_parent.spelling, called.spelling) if called else ""


def parts(node):
    """The operands, without conversions and parentheses."""
    wraps = (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR)
    return [part for c in node.get_children() for part in (parts(c) if c.kind in wraps else [c])]
