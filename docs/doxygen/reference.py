#!/usr/bin/env python3
"""Builds the API reference: copies the public headers into a staging tree, prepared for Doxygen,
then runs Doxygen on that tree with docs/Doxyfile. Any Doxygen warning fails the build; the
warnings are printed with the paths of the real headers (the staged ones keep their line numbers).

  reference.py OUTPUT_DIR      # HTML in OUTPUT_DIR/html, warnings in OUTPUT_DIR/warnings.log

The preparation does three things Doxygen cannot do on its own:
  * Method tables. Class bodies include `.inc` fragments, and some of those are tables of macro
    lines (QUOREL_SELF_METHOD and the element-wise shape macros) that Doxygen never expands. The
    filter runs the C preprocessor over each included fragment, with the header's macro
    definitions, and puts the resulting declarations where the #include stood, all on that one
    line so the header keeps its line numbers. A `///` comment above a table line documents every
    declaration the line expands into.
  * Overload runs. A `///` comment documents the declaration below it and the overloads of the
    same name that follow it directly (no blank line or other comment between them), and the
    setter `SetX` that directly follows a getter `X`; each of those gets a copy of the comment.
  * Protected members are the library's own: they are filtered out of the reference like private
    ones (TVec and TMtx are final).
"""
import os
import re
import shutil
import subprocess
import sys

ROOT = os.environ.get("QUOREL_SOURCE_DIR") or os.path.dirname(os.path.dirname(os.path.dirname(
    os.path.abspath(__file__))))
CXX = os.environ.get("CXX") or "c++"

INCLUDE_RE = re.compile(r'^\s*#\s*include\s+"(quorel/[^"]+\.inc)"')
DIRECTIVE_RE = re.compile(r"^\s*#\s*(define|undef)\b")
DOC_RE = re.compile(r"^\s*///(?!<)(.*)$")
ACCESS_RE = re.compile(r"^\s*(public|protected|private)\s*:")
MARK_DOC = "QUOREL_DOC_"
MARK_END = "QUOREL_DOC_END_"
MARKER_RE = re.compile(r'QUOREL_DOC_\("((?:[^"\\]|\\.)*)"\)|QUOREL_DOC_END_')


def decl_name(text):
  """Name of the function a declaration declares, or None."""
  text = re.sub(r"/\*.*?\*/", " ", text)
  text = re.sub(r"//.*", " ", text)
  if "(" not in text:
    return None
  head = text[: text.index("(")].rstrip()
  if head.endswith("operator"):
    return "operator()"
  m = re.search(r"(operator\s*[^\s\w]+|~?\w+)$", head)
  return m.group(1).replace(" ", "") if m else None


class DocCarrier:
  """Tracks the last doc comment and hands it to following overloads of the same name."""

  def __init__(self):
    self.block = []
    self.fresh = False
    self.carried = None
    self.name = None

  def doc(self, text):
    if not self.fresh:
      self.block = []
    self.block.append(text.strip())
    self.fresh = True

  def end(self):
    self.block, self.fresh, self.carried, self.name = [], False, None, None

  def statement(self, text):
    """Doc lines this statement gets: its own comment (fresh) or a carried copy; None if none."""
    name = decl_name(text)
    if self.fresh:
      self.fresh = False
      self.carried, self.name = list(self.block), name
      return self.carried, True
    if self.carried is not None and name is not None and "///<" not in text and (
        name == self.name or name == "Set" + (self.name or "")):
      return self.carried, False
    self.carried, self.name = None, None
    return None, False


def as_block_comment(lines):
  text = " ".join(l for l in lines if l).replace("*/", "* /")
  return "/** " + text + " */ "


# --- fragments -----------------------------------------------------------------------------------

def read_fragment(rel, seen=()):
  """Text of a fragment with its own fragment includes inlined and doc comments made into markers
  that survive the preprocessor."""
  path = os.path.join(ROOT, rel)
  out = []
  continued = False
  with open(path, encoding="utf-8") as f:
    for line in f.read().splitlines():
      if continued:
        out.append(line)
      else:
        inc = INCLUDE_RE.match(line)
        doc = DOC_RE.match(line)
        stripped = line.strip()
        if inc and inc.group(1) not in seen:
          out.append(read_fragment(inc.group(1), seen + (rel,)))
        elif doc:
          escaped = doc.group(1).strip().replace("\\", "\\\\").replace('"', '\\"')
          out.append('%s("%s")' % (MARK_DOC, escaped))
        elif not stripped or stripped.startswith("//"):
          out.append(MARK_END)
        else:
          out.append(line)
      continued = line.endswith("\\")
  return "\n".join(out)


def split_statements(text):
  """Markers and declarations of preprocessed fragment text, in order."""
  items = []
  cur = []
  depth = 0
  i = 0
  n = len(text)
  while i < n:
    c = text[i]
    if depth == 0 and not "".join(cur).strip():
      m = MARKER_RE.match(text, i)
      if m:
        items.append(("doc", m.group(1).encode().decode("unicode_escape")) if m.group(1) is not None
                     else ("end", None))
        cur = []
        i = m.end()
        continue
    if c in "\"'":
      j = i + 1
      while j < n and text[j] != c:
        j += 2 if text[j] == "\\" else 1
      cur.append(text[i : j + 1])
      i = j + 1
      continue
    cur.append(c)
    i += 1
    if c in "([{":
      depth += 1
    elif c in ")]}":
      depth -= 1
    stmt = " ".join("".join(cur).split())
    if depth == 0 and ACCESS_RE.match(stmt) and stmt.endswith(":") and "::" not in stmt[-2:]:
      items.append(("access", stmt))
      cur = []
    elif depth == 0 and c in ";}":
      if c == "}":
        k = i
        while k < n and text[k] in " \t\n":
          k += 1
        if k < n and text[k] == ";":
          cur.append(";")
          i = k + 1
      items.append(("stmt", " ".join("".join(cur).split())))
      cur = []
  return items


def expand_fragment(rel, directives):
  source = "\n".join(directives) + "\n" + read_fragment(rel) + "\n"
  cmd = [CXX, "-E", "-P", "-x", "c++", "-std=c++20", "-nostdinc", "-I", ROOT, "-"]
  out = subprocess.run(cmd, input=source, capture_output=True, text=True, check=True).stdout
  items = split_statements(out)
  # Every table line must have become declarations: a name lost here would leave no warning.
  fragment = re.sub(r"^[ \t]*#[ \t]*define(?:[^\n]*\\\n)*[^\n]*", "", read_fragment(rel), flags=re.M)
  tabled = set(re.findall(r"^\s*QUOREL_[A-Z_]+\((\w+)\s*,", fragment, re.M))
  tabled |= set(re.findall(r"^\s*QUOREL_[A-Z_]+_SHAPES\((\w+)\)", fragment, re.M))
  declared = {decl_name(value) for kind, value in items if kind == "stmt"}
  lost = sorted(tabled - declared)
  if lost:
    sys.exit("api reference: %s: table lines that expanded to nothing: %s" % (rel, ", ".join(lost)))
  carrier = DocCarrier()
  parts = []
  for kind, value in items:
    if kind == "doc":
      carrier.doc(value)
    elif kind == "end":
      carrier.end()
    elif kind == "access":
      carrier.end()
      parts.append(value.replace("protected", "private") + " ")
    else:
      doc, _ = carrier.statement(value)
      parts.append((as_block_comment(doc) if doc else "") + value + " ")
  return "".join(parts).rstrip()


# --- headers -------------------------------------------------------------------------------------

def code_part(line):
  """The line without string literals and trailing comment, for brace counting."""
  line = re.sub(r'"(?:[^"\\]|\\.)*"', '""', line)
  line = re.sub(r"'(?:[^'\\]|\\.)*'", "''", line)
  line = re.sub(r"/\*.*?\*/", " ", line)
  return line.split("//", 1)[0]


def filter_header(lines):
  out = []
  directives = []
  carrier = DocCarrier()
  stmt = []        # indexes into out of the statement being read
  stmt_depth = 0   # brace depth where it started
  depth = 0
  in_directive = False
  for line in lines:
    code = code_part(line)
    if in_directive or code.lstrip().startswith("#"):
      inc = INCLUDE_RE.match(line)
      if not in_directive and inc:
        out.append(expand_fragment(inc.group(1), directives))
      else:
        if in_directive or DIRECTIVE_RE.match(line):
          if in_directive:
            directives[-1] += "\n" + line
          else:
            directives.append(line)
        out.append(line)
      in_directive = line.endswith("\\")
      carrier.end()
      continue
    doc = DOC_RE.match(line)
    if not stmt and doc:
      carrier.doc(doc.group(1))
      out.append(line)
      continue
    if not stmt and (not code.strip() or ACCESS_RE.match(code)):
      carrier.end()
      out.append(re.sub(r"\bprotected(\s*:)", r"private\1", line) if ACCESS_RE.match(code) else line)
      continue
    if not stmt:
      stmt_depth = depth
    stmt.append(len(out))
    out.append(line)
    opened = code.count("{") - code.count("}")
    depth += opened
    end = code.rstrip()
    text = " ".join(out[k] for k in stmt)
    complete = False
    if depth < stmt_depth:            # closing brace of an enclosing scope
      complete = True
    elif depth == stmt_depth and (end.endswith(";") or end.endswith("}")):
      complete = True
    elif depth > stmt_depth and end.endswith("{") and "(" not in code_part(text):
      complete = True                 # opens a class, struct, enum or namespace
    if complete:
      first = stmt[0]
      doc_lines, fresh = carrier.statement(text)
      if doc_lines and not fresh:
        indent = re.match(r"\s*", out[first]).group(0)
        out[first] = indent + as_block_comment(doc_lines) + out[first].lstrip()
      if depth != stmt_depth:
        carrier.end()
      stmt = []
  return out


def public_headers():
  for dirpath, dirnames, filenames in os.walk(os.path.join(ROOT, "quorel")):
    dirnames[:] = sorted(d for d in dirnames if d not in ("detail", "platform"))
    for name in sorted(filenames):
      if name.endswith(".h"):
        yield os.path.relpath(os.path.join(dirpath, name), ROOT)


def stage(src_dir):
  shutil.rmtree(src_dir, ignore_errors=True)
  for rel in public_headers():
    with open(os.path.join(ROOT, rel), encoding="utf-8") as f:
      lines = f.read().splitlines()
    dst = os.path.join(src_dir, rel)
    os.makedirs(os.path.dirname(dst), exist_ok=True)
    with open(dst, "w", encoding="utf-8") as f:
      f.write("\n".join(filter_header(lines)) + "\n")


def main():
  if len(sys.argv) != 2:
    sys.exit("usage: reference.py OUTPUT_DIR")
  out = os.path.abspath(sys.argv[1])
  doxygen = shutil.which("doxygen")
  if not doxygen:
    sys.exit("api reference: doxygen is not installed (scripts/install-deps.sh installs it)")
  src_dir = os.path.join(out, "src")
  stage(src_dir)
  env = dict(os.environ, QUOREL_SOURCE_DIR=ROOT, QUOREL_DOCS_OUT=out, QUOREL_DOCS_SRC=src_dir)
  log = os.path.join(out, "warnings.log")
  if os.path.exists(log):
    os.remove(log)
  rc = subprocess.run([doxygen, os.path.join(ROOT, "docs", "Doxyfile")], env=env).returncode
  warnings = open(log, encoding="utf-8").read().strip() if os.path.exists(log) else ""
  if warnings:
    sys.stderr.write(warnings.replace(src_dir + os.sep, ROOT + os.sep) + "\n")
  if rc != 0 or warnings:
    sys.exit("api reference: Doxygen reported the problems above")
  print("api reference: " + os.path.join(out, "html", "index.html"))


if __name__ == "__main__":
  main()
