"""A catalogue as one page for a browser, which needs no network: families, errors, and a table of files that can be searched."""

from __future__ import annotations

import base64
import html
import json
import os
import sqlite3

from .store import check_replaceable

_BEGIN = (
    "<!DOCTYPE html><html lang=en><meta charset=utf-8><meta name=viewport content='width=device-width'><title>Catalogue</title>"
)
_STYLE = """
:root { color-scheme: light dark; font: 14px/1.5 system-ui, sans-serif; }
body { margin: 1.5rem auto; max-width: 80rem; padding: 0 1rem; }
input { font: inherit; width: 100%; padding: .4rem; box-sizing: border-box; }
table { border-collapse: collapse; width: 100%; margin: 1rem 0; }
td, th { border-bottom: 1px solid #8884; padding: .25rem .5rem; text-align: left; }
td:nth-child(3), td:nth-child(7) { overflow-wrap: anywhere; }
td.number { text-align: right; } .error { color: #d22; } img { max-width: 96px; max-height: 96px; }
"""
_SCRIPT = """
const rows = JSON.parse(document.getElementById("data").textContent);
const body = document.getElementById("files"), search = document.getElementById("search"), told = document.getElementById("told");
const most = 500;
function cell(row, text, name) {
  const made = row.insertCell();
  made.textContent = text;
  if (name) made.className = name;
  return made;
}
function show() {
  const words = search.value.toLowerCase().split(/\\s+/).filter(Boolean);
  const found = rows.filter(file => words.every(word => file.all.includes(word)));
  body.textContent = "";
  for (const file of found.slice(0, most)) {
    const row = body.insertRow();
    const picture = cell(row, "");
    if (file.thumbnail) {
      const image = document.createElement("img");
      image.src = file.thumbnail;
      image.alt = "";
      picture.append(image);
    }
    cell(row, file.id, "number");
    cell(row, file.path);
    cell(row, file.family);
    cell(row, file.size, "number");
    cell(row, file.nodes, "number");
    cell(row, file.error || file.root, file.error ? "error" : "");
  }
  told.textContent = `${found.length} of ${rows.length} files` + (found.length > most ? `, the first ${most} are shown` : "");
}
for (const file of rows) file.all = [file.path, file.family, file.format, file.error, file.root].join(" ").toLowerCase();
search.addEventListener("input", show);
show();
"""


def _thumbnail(path: str) -> str | None:
    """An image file as a small PNG. Only files that a worker has opened without an error come here."""
    import quovel_adapter
    from quovel_adapter import _notebook

    try:
        with quovel_adapter.open(path, "object") as reader:
            small = _notebook.png(_notebook.reduced(reader.root[0]._pixels(0), 96))
    except (quovel_adapter.QuovelError, LookupError):
        return None
    return "data:image/png;base64," + base64.b64encode(small).decode()


def _table(heading: str, rows: list[tuple[object, ...]]) -> str:
    if not rows:
        return ""
    cells = "".join("<tr>" + "".join(f"<td>{html.escape(str(value))}</td>" for value in row) + "</tr>" for row in rows)
    return f"<h2>{heading}</h2><table>{cells}</table>"


def write(database: sqlite3.Connection, catalogue: str, path: str, thumbnails: int, force: bool) -> None:
    if os.path.exists(path) and os.path.samefile(path, catalogue):
        raise ValueError(f"'{path}' is the catalogue itself")
    check_replaceable(path, (_BEGIN,), force)
    question = (
        "SELECT f.id, f.path, f.size, f.family, f.format, f.nodes, f.error, (SELECT type || ' ' || value FROM nodes"
        " WHERE file = f.id ORDER BY id LIMIT 1) AS root FROM files f ORDER BY f.path"
    )
    found = database.execute(question)
    names = [column[0] for column in found.description]
    files = [dict(zip(names, row)) for row in found]
    for file in [file for file in files if file["family"] == "image" and not file["error"]][:thumbnails]:
        file["thumbnail"] = _thumbnail(file["path"])
    families = database.execute(
        "SELECT family, 'files: ' || count(*), 'failed: ' || sum(error IS NOT NULL), 'nodes: ' || sum(nodes) FROM files"
        " GROUP BY family ORDER BY count(*) DESC"
    ).fetchall()
    data = json.dumps(files).replace("<", "\\u003c")  # "<!--<script>" would hide the end of the element
    with open(path, "w", encoding="utf-8") as out:
        out.write(
            f"{_BEGIN}<style>{_STYLE}</style><h1>Catalogue</h1>{_table('Families', families)}"
            "<h2>Files</h2><input id=search type=search placeholder='Search in paths, kinds, contents and errors' autofocus>"
            "<p id=told></p><table><thead><tr><th><th>ID<th>Path<th>Family<th>Size<th>Nodes<th>Content or error</thead>"
            f"<tbody id=files></tbody></table><script type=application/json id=data>{data}</script><script>{_SCRIPT}</script></html>"
        )
