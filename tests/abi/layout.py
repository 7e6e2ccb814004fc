#!/usr/bin/env python3
"""Writes a C++ program that prints the layout of everything public, as the compiler sees it.

    layout.py program OUT HEADER...        the program
    layout.py check LIST PRINTED           compares what it printed with the reviewed list; fails on any difference

The headers are read in the house's own style, one declaration a statement; one that cannot be told is an error, so
nothing is left out in silence.
"""

import difflib
import pathlib
import re
import sys

COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
OPENING = re.compile(r"^(template\s*<[^{;]*>\s*)?(class|struct|enum)\s+(?:LOGDB_EXPORT\s+)?(\w+)\b[^;{]*\{")
MEMBER = re.compile(r"^[\w:<>,*&\s]+?[\s*&](m_\w+)(?:\[[^\]]*\])?(?:\s*=[^;]*)?;$")
VARIABLE = re.compile(r"^extern (?:LOGDB_EXPORT )?[\w:*\s]+[\s*](\w+)(?:\[\d+\])?;$")
# Templates have a layout for the arguments that the library uses.
INSTANCES = (
    ("MEM_STRING", ()),
    ("MEM_VECTOR<MEM_STRING>", ()),
    ("MEM_VECTOR<LOGDB_DATABASE_ENTRY*>", ()),
    ("XTL_HASH_NODE<const char*, int>", ("m_key", "m_data", "m_next", "m_prev")),
    ("XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS>",
     ("m_bucket_count", "m_size", "m_buckets", "m_ops", "m_collisions")),
    ("XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS>::iterator",
     ("m_hash", "m_bucket", "m_bucket_count", "m_node")),
)

# A class of a program's own, derived from one of the library's: what a program then holds of virtual tables.
USE = """template <class T> struct CHILD : T {
   LOGDB_FSYN_LOG_ENTRY* clone() const override { return nullptr; }
};

template <class T> void use() {
   if constexpr (std::is_polymorphic_v<T>) {
      delete new CHILD<T>;
   }
}
"""


def without_comments_and_directives(text):
    text = COMMENT.sub(" ", text)
    text = re.sub(r"\[\[\w+\]\]|\\\n", " ", text)
    return re.sub(r"^\s*#.*$", "", text, flags=re.MULTILINE)


def statements(text):
    """The declarations of a scope, each up to its ";" or its closing brace, white space as one blank."""
    found, begin, depth = [], 0, 0
    for index, character in enumerate(text):
        depth += {"{": 1, "}": -1, "(": 1, ")": -1}.get(character, 0)
        ends_body = character == "}" and depth == 0 and not re.match(r"\s*;", text[index + 1:])
        if depth == 0 and (character == ";" or ends_body):
            found.append(" ".join(text[begin:index + 1].split()))
            begin = index + 1
    if text[begin:].strip():
        raise ValueError(f"unfinished: {text[begin:].strip()[:80]}")
    return found


def is_function_or_name(statement):
    return "(" in statement or re.match(r"(using|friend|typedef|static) ", statement) is not None


def members_of(name, body):
    found = []
    body = re.sub(r"\b(public|private|protected):", "", body)
    for statement in statements(body):
        statement = statement.removeprefix("LOGDB_EXPORT ")
        initialised = re.sub(r"\s*=.*;$|\{[^(]*\};$", ";", statement)
        member = MEMBER.match(initialised)
        if "," in re.sub(r"<.*>", "", initialised) and not is_function_or_name(initialised):
            raise ValueError(f"{name}: one member a statement: {statement}")
        if member is not None and "static" not in statement.split():
            found.append(member.group(1))
        elif not is_function_or_name(statement) and not OPENING.match(statement):
            raise ValueError(f"{name}: cannot tell what this is: {statement}")
    return found


def declarations_of(text):
    """What a header declares: (classes with members, enumerations with enumerators, variables)."""
    classes, enumerations, variables = [], [], []
    for statement in statements(without_comments_and_directives(text)):
        opening, variable = OPENING.match(statement), VARIABLE.match(statement)
        if opening is not None and opening.group(1) is None:
            body = statement[opening.end():statement.rindex("}")]
            if opening.group(2) == "enum":
                names = [part.split("=")[0].strip() for part in body.split(",") if part.strip()]
                enumerations.append((opening.group(3), names))
            else:
                classes.append((opening.group(3), members_of(opening.group(3), body)))
        elif variable is not None:
            variables.append(variable.group(1))
    return classes, enumerations, variables


def program(headers):
    lines = [f'#include "{header.name}"' for header in headers]
    lines += ["#include <cstddef>", "#include <cstdio>", "#include <type_traits>", "", USE, "int main() {"]
    for header in headers:
        classes, enumerations, variables = declarations_of(header.read_text(encoding="utf-8"))
        for name, members in classes:
            lines += [*class_lines(name, members), f"   use<{name}>();"]
        for name, enumerators in enumerations:
            lines.append(f'   std::printf("{name}: size %zu\\n", sizeof({name}));')
            for enumerator in enumerators:
                lines.append(f'   std::printf("{name} {enumerator}: value %d\\n", int({enumerator}));')
        for name in variables:
            lines.append(f'   std::printf("{name}: size %zu\\n", sizeof({name}));')
    for name, members in INSTANCES:
        lines.append("   {")
        lines.append(f"      using INSTANCE = {name};")
        lines += class_lines("INSTANCE", members, name)
        lines.append("   }")
    return "\n".join([*lines, "}", ""])


def class_lines(name, members, title=None):
    title = title or name
    yield (f'   std::printf("{title}: size %zu, alignment %zu%s\\n", sizeof({name}), alignof({name}), '
           f'std::is_polymorphic_v<{name}> ? ", virtual table" : "");')
    for member in members:
        yield (f'   std::printf("{title} {member}: offset %zu, size %zu\\n", offsetof({name}, {member}), '
               f"sizeof({name}::{member}));")


def check(reviewed, printed):
    difference = list(difflib.unified_diff(reviewed.read_text(encoding="utf-8").splitlines(),
                                           printed.read_text(encoding="utf-8").splitlines(),
                                           "reviewed", "compiled", n=0, lineterm=""))
    print("\n".join(difference))
    if difference:
        print(f"docs/abi.md says what may change. When this may: cp {printed} {reviewed}")
    return 1 if difference else 0


def main(arguments):
    if len(arguments) > 2 and arguments[0] == "program":
        text = program([pathlib.Path(name) for name in arguments[2:]])
        pathlib.Path(arguments[1]).write_text(text, encoding="utf-8")
        return 0
    if len(arguments) == 3 and arguments[0] == "check":
        return check(pathlib.Path(arguments[1]), pathlib.Path(arguments[2]))
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
