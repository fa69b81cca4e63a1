#!/usr/bin/env python3
"""Copies a VBScript with a marker echoed after every top-level statement, so that a run
that stops early shows the last line it finished (Wine's script hosts end silently on an
uncaught error). Lines inside Sub, Function and multi-line If/For/Do blocks are left alone.

    trace_script.py SOURCE TRACED
"""
import re
import sys

source, traced = sys.argv[1], sys.argv[2]
block_open = re.compile(r"^(sub|function|private sub|private function|public sub|public function|class|select case|with)\b|"
                        r"^(if\b.*\bthen\s*$)|^(for|do|while)\b", re.IGNORECASE)
block_close = re.compile(r"^(end\s+(sub|function|class|select|with|if)|next|loop|wend)\b", re.IGNORECASE)

depth = 0
out = []
lines = open(source, encoding="latin-1").read().split("\n")
for number, line in enumerate(lines, start=1):
    out.append(line)
    text = line.strip()
    if not text or text.startswith("'"):
        continue
    if block_close.match(text):
        depth = max(depth - 1, 0)
        continue
    if block_open.match(text):
        depth += 1
        continue
    if depth == 0 and not text.endswith("_"):
        out.append('WScript.Echo "TRACE {}"'.format(number))
open(traced, "w", encoding="latin-1").write("\n".join(out))
