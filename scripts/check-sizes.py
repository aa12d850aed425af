#!/usr/bin/env python3
"""Product C++ files of at most 600 lines and functions of at most 80.

Usage: scripts/check-sizes.py [ROOT]

Looks at every .cpp and .h file below ROOT (default: the checkout) except
the tests, the fuzzers, the benchmarks and build folders. A function is
counted from the line of its opening brace to the line of its closing one.
A function that is one algorithm best read whole may be longer when the
comment just above it says that it "reads best" whole or as one piece.
Prints one line per finding and exits with 1 when there is any."""

import pathlib
import re
import sys

MAX_FILE_LINES = 600
MAX_FUNCTION_LINES = 80
SKIPPED = {"tests", "fuzz", "bench", ".git"}
NOT_FUNCTIONS = re.compile(
    r"^\s*(?:\}\s*)?(?:if|else|for|while|switch|catch|do|try|namespace|class|struct|union|enum)\b|\]\s*(?:\(.*\))?"
    r"\s*(?:mutable\s*)?(?:->\s*[\w:<>]+\s*)?\{$")


def code_only(text):
    """The text with comments, strings and character literals blanked,
    keeping every line break."""
    out = []
    i, n = 0, len(text)
    while i < n:
        c = text[i]
        if text.startswith("//", i):
            end = text.find("\n", i)
            i = n if end < 0 else end
        elif text.startswith("/*", i):
            end = text.find("*/", i + 2)
            end = n if end < 0 else end + 2
            out.append("\n" * text.count("\n", i, end))
            i = end
        elif text.startswith('R"', i) and (i == 0 or not (text[i - 1].isalnum() or text[i - 1] == "_")):
            open_paren = text.find("(", i)
            delimiter = text[i + 2:open_paren]
            close = text.find(")" + delimiter + '"', open_paren)
            end = n if close < 0 else close + len(delimiter) + 2
            out.append('""' + "\n" * text.count("\n", i, end))
            i = end
        elif c in "\"'" and not (c == "'" and i > 0 and text[i - 1].isalnum()):
            j = i + 1
            while j < n and text[j] != c and text[j] != "\n":
                j += 2 if text[j] == "\\" else 1
            out.append(c + c)
            i = j + 1
        else:
            out.append(c)
            i += 1
    return "".join(out)


def closing_line(lines, start):
    """The index of the line that closes the brace opened at the end of
    lines[start]."""
    depth = 0
    for k in range(start, len(lines)):
        depth += lines[k].count("{") - lines[k].count("}")
        if depth <= 0:
            return k
    return len(lines) - 1


def allowed_whole(raw_lines, start):
    """Whether the comment lines just above the function's signature say it
    reads best whole."""
    k = start
    while k > 0 and raw_lines[k - 1].strip() and not raw_lines[k - 1].strip().startswith("//") \
            and not raw_lines[k - 1].rstrip().endswith((";", "}", "{")):
        k -= 1
    while k > 0 and raw_lines[k - 1].strip().startswith(("//", "template")):
        if "reads best" in raw_lines[k - 1]:
            return True
        k -= 1
    return False


def long_functions(path):
    raw = path.read_text(encoding="utf-8", errors="replace")
    raw_lines = raw.split("\n")
    lines = code_only(raw).split("\n")
    found = []
    i = 0
    while i < len(lines):
        line = lines[i].rstrip()
        opens = line.endswith("{") and not NOT_FUNCTIONS.search(line)
        # A definition: the brace follows a parameter list (possibly with
        # qualifiers or a constructor's initialisers on the lines before).
        if opens and (")" in line or line.strip() == "{" or re.search(r"\)\s*(?:const|noexcept|override|final|->.*)?\s*\{$", line)):
            head = i
            while head > 0 and not lines[head - 1].rstrip().endswith((";", "}", "{", ":")) and lines[head - 1].strip():
                head -= 1
            if "(" not in "".join(lines[head:i + 1]) or "=" in lines[head].split("(")[0]:
                i += 1
                continue
            end = closing_line(lines, i)
            length = end - i + 1
            if length > MAX_FUNCTION_LINES and not allowed_whole(raw_lines, head):
                found.append((head + 1, length, raw_lines[head].strip()))
            i = end + 1
            continue
        i += 1
    return found


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent)
    problems = 0
    for path in sorted(root.rglob("*")):
        if path.suffix not in (".cpp", ".h") or not path.is_file():
            continue
        parts = path.relative_to(root).parts
        if parts[0] in SKIPPED or parts[0].startswith("build"):
            continue
        relative = path.relative_to(root)
        count = path.read_text(encoding="utf-8", errors="replace").count("\n")
        if count > MAX_FILE_LINES:
            print(f"{relative}: {count} lines (at most {MAX_FILE_LINES})")
            problems += 1
        for line, length, text in long_functions(path):
            print(f"{relative}:{line}: a function of {length} lines (at most {MAX_FUNCTION_LINES}): {text}")
            problems += 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
