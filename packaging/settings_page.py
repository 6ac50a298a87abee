#!/usr/bin/env python3
"""Prints docs/settings.md from what `vlmctl describe --json` prints on standard input."""
import json
import sys

rows = [json.loads(line) for line in sys.stdin]


def text(field):
    return field.replace("|", "\\|")


def allowed(field):
    if "choices" in field and field["type"] == "choice":
        return ", ".join(f"`{c['name']}`" for c in field["choices"] if c.get("settable", True))
    if field["type"] == "bool":
        return "`on`, `off`"
    unit = f" {field['unit']}" if "unit" in field else ""
    if field["type"] == "bytes":
        return f"{field['width']} bytes"
    if field["type"] == "ratio":
        return "a fraction" + unit
    if "range" in field:
        what = " characters" if field["type"] == "text" else unit
        return f"{field['range']['min']} to {field['range']['max']}{what}"
    return "a number" + unit if field["type"] == "float" else ""


def notes(row):
    parts = list(row["flags"])
    parts += ["needs `" + need + "`" for need in row.get("needs", [])]
    if "remote" in row:
        parts.append("over UDP")
    return ", ".join(parts)


def codes(row):
    return ", ".join(f"{name} {code}" for name, code in row.get("codes", {}).items())


print("# Settings, readings and actions")
print()
print("All that `vlmctl` and the catalogue know, with the command codes of the bus. Made by")
print("`packaging/settings_page.py`.")
for kind, title in (("setting", "Settings"), ("reading", "Readings"), ("action", "Actions")):
    print(f"\n## {title}\n")
    print("| Name | Type | Allowed | Codes | Notes | Meaning |")
    print("|---|---|---|---|---|---|")
    for row in rows:
        if row["kind"] != kind:
            continue
        print(f"| `{row['name']}` | {row['type']} | {text(allowed(row))} | {codes(row)} "
              f"| {text(notes(row))} | {text(row['help'])} |")
        inner = [("." + f["name"], f) for f in row.get("fields", [])]
        inner += [(f["name"] + "=", f) for f in row.get("parameters", [])]
        for name, field in inner:
            print(f"| &emsp;`{name}` | {field['type']} | {text(allowed(field))} | "
                  f"| {', '.join(field['flags'])} | {text(field.get('help', ''))} |")
