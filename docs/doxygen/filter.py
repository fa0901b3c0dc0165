#!/usr/bin/env python3
"""Turns the comments of a header into what Doxygen reads: filter.py HEADER > what Doxygen is given.

- A comment documents all declarations up to the next blank line, comment or end of the class.
- A comment at the end of a declaration or enumerator documents that one.
- A comment with a blank line behind it speaks for the file; in a class it is a heading, and Doxygen does not see it.
- Defaulted and deleted members, destructors and constructors without arguments may go without a comment; they are left
  out then.

Comments are Markdown without emphasis, links and HTML. Lines stay where they are, so that warnings name the right ones.
"""
import re
import sys

COMMENT = re.compile(r"( *)// ?(.*)")
TRAILING = re.compile(r"(.*[;,]) +// (?!NOLINT)(.*)")
PLAIN = re.compile(r".* = (default|delete);|    (virtual )?~?[A-Z]\w*\(\)[^;{]*(;|\{.*\})")
DECLARATION = re.compile(r" *(?!template <|\w+:$)[\w\[~]")
CODES = re.compile(r"^( *)(kResult\w+(?:, kResult\w+)*)(?:$|( ) +)")  # an entry in an aligned list of result codes
LABEL = re.compile(r"^(?=[A-Z]\w+: )")  # Errors: and the like, in a paragraph of such


def escape(text):
    """The text with what Doxygen would take for markup escaped, but for `code`."""
    parts = text.split("`")
    parts[::2] = [re.sub(r"([\\@<>#*&])", r"\\\1", part) for part in parts[::2]]
    return "`".join(parts)


def markdown(texts):
    """The lines of a comment, with lists of result codes and paragraphs of labels as lists of Markdown."""
    has_labels = False
    for before, text in zip([None, *texts], texts):
        has_labels = text != "" and (has_labels or (before == "" and LABEL.match(text) is not None))
        text = CODES.sub(lambda found: f"{found[1]}- {found[2]}{': ' if found[3] else ''}", escape(text))
        yield LABEL.sub("- ", text) if has_labels else text


def indent_of(line):
    return len(line) - len(line.lstrip())


def end_of_group(lines, start):
    """One past the last line of the declarations that start there. Blank lines in bodies do not end them."""
    indent = indent_of(lines[start])
    for i in range(start, len(lines)):
        if not lines[i] and indent_of(lines[i + 1]) <= indent:
            return i
        if lines[i] and (indent_of(lines[i]) < indent or lines[i].startswith(" " * indent + "//")):
            return i
    return len(lines)


def declares_several(lines):
    """Whether more than one declaration stands in the lines, those inside of classes and bodies not counted."""
    own = [line for line in lines if indent_of(line) == indent_of(lines[0]) and DECLARATION.match(line)]
    return len(own) > 1


def block(texts):
    """The lines of a comment that Doxygen reads."""
    lines = [" * " + text for text in texts]
    lines[0] = "/** " + texts[0]
    lines[-1] += " */"
    return lines


def document(lines):
    out = [re.sub("^#pragma once$", "/** @file */", line) for line in lines] + [""]
    before = [""] * len(out)
    comment = []
    for i, line in enumerate(lines):
        if match := COMMENT.fullmatch(line):
            comment.append(match[2])
            continue
        start = i - len(comment)
        if comment and line:
            out[start:i] = block(list(markdown(comment)))
            end = end_of_group(lines, i)
            if declares_several(lines[i:end]):
                before[start] += "/** @{ */ "
                before[end] += "/** @} */ "
        elif comment and not lines[start].startswith(" "):
            out[start - 1 : i] = block(["@file", *markdown(comment)])
        elif PLAIN.fullmatch(line):
            out[i] = ""
        elif match := TRAILING.fullmatch(line):
            out[i] = f"{match[1]} ///< {escape(match[2])}"
        comment = []
    return [text + line for text, line in zip(before, out)]


with open(sys.argv[1], encoding="utf-8") as header:
    print("\n".join(document(header.read().splitlines())))
