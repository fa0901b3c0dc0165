#!/usr/bin/env python3
"""Turns the comments of our headers into what Doxygen reads: filter.py HEADER-OR-PAGE > what Doxygen is given.

- A comment documents the declarations that follow it up to the next blank line or comment. Where these have other
  names than the first one they are told by it, "With Map: ...", but for overrides, which inherit their comments.
- A comment at the end of a declaration documents that one.
- A comment with a blank line behind it speaks for the file, or in a class for all members below it that have none of
  their own, up to the next such comment; a heading, // ---- so ----, for nothing.
- Constructors without arguments, copying, moving and destructors need no comment.

Lines stay where they are, so that warnings name the right ones.
"""
import pathlib
import re
import sys

COMMENT = re.compile(r"^(\s*)//(?!/) ?(.*)$")
HEADING = re.compile(r"^-{3,} .* -{3,}$")
TRAILING = re.compile(r"^(?P<code>.*?[;,\w}])\s+// (?!NOLINT)(?P<text>.*)$")
SCOPE = re.compile(r"^\s*(template <.*> *)?(namespace|class|struct|union|enum)\b[^;()]*(\([^)]*\)[^;()]*)?\{$")
ACCESS = re.compile(r"^\s*(public|protected|private):")
COPYING = re.compile(r"^\s*(?:explicit |constexpr |virtual )*(?:(\w+)\((?:const )?\1&|\w+& operator=\()")
PLAIN = re.compile(r"^\s*(?:constexpr |virtual )*(?:~\w+\(\)|[A-Z]\w*\(\)(?=[ ;]))")
STANDARD = re.compile(r"^\s*(?:virtual )?void (?:Increment|Decrement)References\(")
ENTRY = re.compile(r"^( *)(kResult\w+|[A-Z]\w+:)( +)(\S.*)$")
LABELS = {"Cost:", "Errors:", "Life:", "Ownership:", "Threads:", "Units:"}
BARE_CODE = re.compile(r"^( *)(kResult\w+\.?)()()$")


def escape(text):
    """The text with what Doxygen and Markdown would take for markup escaped, but for `code`."""
    parts = text.split("`")
    for i in range(0, len(parts), 2):
        parts[i] = re.sub(r"([\\@<>#*&%])", r"\\\1", parts[i])
    return "`".join(parts).replace("*/", "* /")


def indent_of(line):
    return len(line) - len(line.lstrip())


def code_of(line):
    """The line without comment, texts and characters, so that its brackets can be counted."""
    line = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'', '""', line)
    return line.split("//")[0].rstrip()


def entry_at(lines, i, columns):
    """The match of a list entry in line i, or None. `columns` are those at which texts of earlier entries start."""
    bare = BARE_CODE.match(lines[i])
    if bare:
        return bare if columns else None
    match = ENTRY.match(lines[i])
    if not match:
        return None
    column = match.start(4)
    follows = i + 1 < len(lines) and lines[i + 1].strip() and indent_of(lines[i + 1]) == column
    if len(match[3]) > 1 or column in columns or match[2] in LABELS or (match[2].endswith(":") and follows):
        return match
    return None


def mode_of(line, before, is_in_entry):
    """How a line outside of list entries is taken: as text, as bullets, which Doxygen knows, or as it stands."""
    if is_in_entry or not line.strip():
        return "text"
    if line.startswith("- ") or (before == "bullets" and line.startswith("  ")):
        return "bullets"
    return "pre" if line.startswith("  ") else "text"


def closing(entries, line, entry):
    """Ends the open entries that the line is not within; those at its own column go on with the entry in it."""
    markup = ""
    while line.strip() and entries and indent_of(line) <= entries[-1]:
        if entry and indent_of(line) == entries[-1]:
            break
        entries.pop()
        markup += "</li></ul>"
    return markup


def opening(entries, line):
    """Starts the entry in the line."""
    if entries and entries[-1] == indent_of(line):
        return "</li><li>"
    entries.append(indent_of(line))
    return "<ul><li>"


def render(lines):
    """The lines of a comment as Doxygen's; aligned lists become lists of HTML, indented lines stay as they are."""
    out, entries, columns, mode = [], [], set(), "text"
    for i, line in enumerate(lines):
        entry = entry_at(lines, i, columns)
        markup = closing(entries, line, entry)
        before, mode = mode, mode_of(line, mode, entry or entries)
        if "pre" in (before, mode) and before != mode:
            markup += "<pre>" if mode == "pre" else "</pre>"
        if entry:
            columns.add(entry.start(4))
            out.append(f"{markup}{opening(entries, line)}<b>{escape(entry[2])}</b> {escape(entry[4])}".rstrip())
        else:
            out.append(markup + escape(line if mode != "text" else line.strip()))
    out[-1] += "</pre>" * (mode == "pre") + "</li></ul>" * len(entries)
    return out


class Header:
    """The lines of a header with, for each, the scopes around it and whether it stands in a body."""

    def __init__(self, lines):
        self.lines = lines
        self.depth, self.scope, self.is_hidden, self.opens_scope = [], [], [], []
        stack, access = [], []
        for i, line in enumerate(lines):
            code = code_of(line)
            match = ACCESS.match(line)
            if match and access:
                access[-1] = match[1]
            closes = code.lstrip().startswith("}")
            self.depth.append(len(stack) - (1 if closes and stack else 0))
            self.scope.append(stack[-1] if stack else "namespace")
            self.is_hidden.append("body" in stack or "private" in access)
            before = len(stack)
            self._count(code, self._kind(i, code), stack, access)
            self.opens_scope.append(len(stack) > before and stack[-1] != "body")

    def _kind(self, i, code):
        """Of a bracket that is opened in line i: the declaration may have begun on lines before it."""
        start = i
        while start > 0 and re.search(r"[^;{}:]$", code_of(self.lines[start - 1])):
            start -= 1
        text = " ".join(code_of(line).strip() for line in self.lines[start:i] + [code])
        match = SCOPE.match(text)
        if not match:
            return "body"
        return "namespace" if match[2] == "namespace" else "enum" if match[2] == "enum" else "class"

    @staticmethod
    def _count(code, kind, stack, access):
        for character in code:
            if character == "{":
                stack.append(kind)
                access.append("private" if kind == "class" and "class " in code else "public")
            elif character == "}" and stack:
                stack.pop()
                access.pop()

    def is_comment(self, i):
        return 0 <= i < len(self.lines) and COMMENT.match(self.lines[i]) is not None

    def is_blank(self, i):
        return i >= len(self.lines) or not self.lines[i].strip()

    def end_of_group(self, i):
        """One past the last line of the declarations that start in line i; those in a class or the like are others."""
        base = self.at(i)
        while i < len(self.lines) and not (self.is_blank(i) and self.at(i) == base):
            ends = self.at(i) == base and (self.is_comment(i) or ACCESS.match(self.lines[i]))
            if self.depth[i] < base or ends or self.opens_scope[i]:
                break
            i += 1
        return i

    def at(self, i):
        """The depth in front of line i."""
        if i >= len(self.lines):
            return 0
        return self.depth[i] + (1 if code_of(self.lines[i]).lstrip().startswith("}") else 0)


def document(lines):
    header = Header(lines)
    out, groups_end, spoken_for = list(lines), {}, None
    for i, line in enumerate(lines):
        if line == "#pragma once":
            out[i] = "/** @file */"
    i = 0
    while i < len(lines):
        if header.is_hidden[i]:
            i += 1
        elif header.is_comment(i):
            i, spoken_for = document_block(header, out, i, spoken_for)
        else:
            spoken_for = None if ACCESS.match(lines[i]) else spoken_for
            document_line(header, out, i, spoken_for)
            i += 1
    return out


def document_block(header, out, start, spoken_for):
    """Handles the comment that starts there and the declarations behind it. Returns where to go on."""
    end = start
    while header.is_comment(end):
        end += 1
    texts = [COMMENT.match(line)[2] for line in header.lines[start:end]]
    if HEADING.match(texts[0]):
        return end, None
    if not header.is_blank(end) or header.scope[start] == "namespace":
        out[start:end] = ["/// " + text for text in render(texts)]
    if header.is_blank(end):
        if header.scope[start] == "class":
            return end, " ".join(texts)
        out[start] = "/// @file\n" + out[start]
        return end, spoken_for

    document_group(header, out, end, render(texts))
    return header.end_of_group(end), spoken_for


def document_group(header, out, start, comment):
    """Handles declarations under one comment, which stands above the first of them already."""
    first = name_from(header, start)
    is_new = False
    for i in range(start, header.end_of_group(start)):
        if is_new and header.at(i) == header.at(start) and not has_own_comment(header.lines[i]):
            is_twin = name_from(header, i) == first
            if is_twin or "override" not in header.lines[i]:
                prefix = "" if is_twin else f"With {escape(first)}: "
                out[i] = f"/** {prefix}{' '.join(comment)} */ {header.lines[i]}"
        else:
            document_line(header, out, i, None)
        is_new = re.search(r"[;}]$", code_of(header.lines[i])) is not None


def name_at(line):
    """The name that the line declares."""
    line = re.sub(r"\[\[.*?\]\]", "", code_of(line))
    match = re.search(r"(operator ?[^\s(]+|\w+)\(", line) or re.search(r"(\w+)( =.*|\{\})?;", line)
    return match[1] if match else ""


def name_from(header, i):
    """The name of the declaration that starts in line i, perhaps with a line of its own for the template."""
    return name_at(header.lines[i + 1 if header.lines[i].strip().startswith("template <") else i])


def has_own_comment(line):
    return TRAILING.match(line) or STANDARD.match(line) or COPYING.match(line) or PLAIN.match(line)


def document_line(header, out, i, spoken_for):
    """Handles one line outside of bodies: its comment at the end, or what stands for one."""
    line = header.lines[i]
    if header.is_hidden[i]:
        return
    match = TRAILING.match(line)
    if match and match["code"].strip() != "}":
        out[i] = f"{match['code']} ///< {escape(match['text'])}"
        return
    if header.scope[i] != "class" or header.is_comment(i - 1):
        return
    if "= delete;" in line:
        told = "Not to be copied." if COPYING.match(line) else "Not to be made."
    elif COPYING.match(line) or PLAIN.match(line):
        told = "As the class tells."
    elif STANDARD.match(line):
        told = "Counts the holders, as the class tells."
    elif spoken_for and name_at(line):
        told = escape(spoken_for)
    else:
        return
    out[i] = f"/** {told} */ {line}"


def anchor(page, heading):
    """The name of a heading among those of all pages, from its text or from what a link calls it."""
    return f"{page.stem}-" + re.sub(r"[^\w-]", "", heading.lower().replace(" ", "-"))


def with_own_links(text, page):
    """The page with names for its headings, and with links to pages and to elsewhere; of others just the text stays."""
    def keep(match):
        target, _, heading = match[2].partition("#")
        linked = page.parent / target if target else page
        if match[2].startswith("http"):
            return match[0]
        if linked.suffix != ".md" or not linked.exists():
            return match[1]
        return f"[{match[1]}](#{anchor(linked, heading)})" if heading else match[0]
    text = re.sub(r"\[([^\]]+)\]\(([^)\s]+)\)", keep, text)
    return re.sub(r"^(##+ (.*))$", lambda match: f"{match[1]} {{#{anchor(page, match[2])}}}", text, flags=re.M)


def main():
    path = pathlib.Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    if path.suffix == ".md":
        print(with_own_links(text, path), end="")
    else:
        print("\n".join(document(text.splitlines())))


if __name__ == "__main__":
    main()
