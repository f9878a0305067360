#!/usr/bin/env python3
"""Fails when a source file includes one of a folder further up than its own.

  includes_check.py PROJECT_FOLDER

The order is that of the folders in the table of docs/architecture.md. The settings are everybody's.
"""

import pathlib
import re
import sys

project = pathlib.Path(sys.argv[1])
source = project / "src"
for_all = {"cgi/settings.h"}
rows = re.findall(r"^\| `(\w+)/` \|", (project / "docs/architecture.md").read_text(encoding="utf-8"), re.M)
place = {folder: at for at, folder in enumerate(rows)}
folders = {path.name for path in source.iterdir() if path.is_dir()}
if folders != set(rows):
    sys.exit(f"docs/architecture.md and src/ have not the same folders: {sorted(folders ^ set(rows))}")

seen, upward = 0, []
for path in sorted(source.glob("*/*.*")):
    for included in re.findall(r'^#include "((\w+)/.*)"', path.read_text(encoding="utf-8"), re.M):
        seen += 1
        if included[0] not in for_all and place[included[1]] < place[path.parent.name]:
            upward.append(f"{path.relative_to(project)} includes {included[0]}, which stands further up")
print(*upward, f"{seen} includes, {len(upward)} of them upward", sep="\n")
sys.exit(0 if seen > 100 and not upward else 1)
