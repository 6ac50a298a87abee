#!/usr/bin/env python3
"""Records the terminal session of the README from the real programs.

usage: record.py PROGRAMS PICTURE            runs the session and draws it
       record.py --check PROGRAMS PICTURE    fails when the programs no longer print what is drawn

Only how long a request took may differ.
"""

import difflib
import html
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

# What is typed. Behind a command that serves, what tells that it does.
SESSION = [
    ("camera_sim --latency 20ms..80ms --seed 7 </dev/null >camera.log &",
     "vlm_bus_probe velmar_repeater_udp --wait 10000"),
    ("vlm_test 1", ""),
    ("vlm_test 3", ""),
    ("vlm_udp_service >service.log &",
     "for i in $(seq 100); do grep -qs 'serving port' service.log && break; sleep 0.1; done"),
    ("vlm_test udp getcammode | grep -E '^(0x|send|CAM)'", ""),
    ("printf '83 5.5\\n82\\nq\\n' | vlm_test | grep '^zoom'", ""),
]

MARK = "-- end of the command --"


def run_session(programs):
    """[(command, the lines it prints)]"""
    script = "".join(f"{command}\n{ready}\necho '{MARK}'\n" for command, ready in SESSION)
    script += "kill $(jobs -p)\nwait\n"
    with tempfile.TemporaryDirectory() as home:
        environment = {**os.environ, "HOME": home, "VLM_BUS_DIR": f"{home}/bus",
                       "PATH": f"{programs.resolve()}:{os.environ['PATH']}"}
        shell = subprocess.Popen(["bash", "-c", script], cwd=home, env=environment, text=True,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, start_new_session=True)
        try:
            output = shell.communicate(timeout=60)[0]
        finally:
            if shell.poll() is None:
                os.killpg(shell.pid, signal.SIGKILL)
    parts = output.split(f"{MARK}\n")
    if len(parts) != len(SESSION) + 1 or parts[-1]:
        sys.exit(f"record.py: the session did not run as it should:\n{output}")
    return [(command, text.rstrip("\n").split("\n") if text.strip() else [])
            for (command, _), text in zip(SESSION, parts)]


def lines_of(session):
    for command, output in session:
        yield f"$ {command}"
        yield from output


# --- The picture ---

CHARACTER = 8.43  # wide, in pixels, in the font of the picture
LINE = 20
MARGIN = 18
BAR = 34
PAUSE_S = 1.2  # before a command
STEP_S = 0.08  # before each line of its output


def start_times(session):
    """When each line appears."""
    clock = 0.0
    for _, output in session:
        clock += PAUSE_S
        yield clock
        clock += PAUSE_S / 2
        for _ in output:
            clock += STEP_S
            yield clock


def draw(session):
    """The session in a window. Without animation, every line is there."""
    lines = list(lines_of(session))
    width = round(2 * MARGIN + CHARACTER * max(map(len, lines)))
    height = BAR + 2 * MARGIN + LINE * len(lines)
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
           f'width="{width}" height="{height}">')
    yield "<title>A session with the console, the service and the simulated camera</title>"
    yield "<style>"
    yield "text { font: 14px 'DejaVu Sans Mono', Menlo, Consolas, monospace; white-space: pre; fill: #d8dee9 }"
    yield ".typed { fill: #a3d977 }"
    yield "@keyframes appear { from { opacity: 0 } to { opacity: 1 } }"
    yield ".line { animation: appear 0.01s backwards }"
    yield "</style>"
    yield f'<rect width="{width}" height="{height}" rx="8" fill="#1e2430"/>'
    for i, colour in enumerate(("#ec6a5e", "#f4bf4f", "#61c554")):
        yield f'<circle cx="{MARGIN + 4 + 20 * i}" cy="{BAR / 2:.0f}" r="6" fill="{colour}"/>'
    for row, (line, start) in enumerate(zip(lines, start_times(session))):
        kind = "line typed" if line.startswith("$ ") else "line"
        yield (f'<text class="{kind}" style="animation-delay: {start:.2f}s" xml:space="preserve" '
               f'x="{MARGIN}" y="{BAR + MARGIN + LINE * row + 8}">{html.escape(line, quote=False)}</text>')
    yield "</svg>"


def drawn_lines(picture):
    texts = re.findall(r"<text class[^>]*>([^<]*)</text>", picture.read_text())
    return [html.unescape(text) for text in texts]


# --- The two uses ---

def without_durations(lines):
    return [re.sub(r"took: \d+ ms", "took: N ms", line) for line in lines]


def main(arguments):
    check = arguments[:1] == ["--check"]
    if len(arguments) != 2 + check:
        sys.exit(__doc__)
    programs, picture = map(pathlib.Path, arguments[check:])
    session = run_session(programs)
    if not check:
        picture.write_text("\n".join(draw(session)) + "\n")
        return
    printed = without_durations(lines_of(session))
    drawn = without_durations(drawn_lines(picture))
    if printed != drawn:
        print("\n".join(difflib.unified_diff(drawn, printed, str(picture), "now", lineterm="")))
        sys.exit(f"record.py: {picture} shows what the programs do not print; ./dev demo renews it")
    print(f"{picture} shows what the programs print")


if __name__ == "__main__":
    main(sys.argv[1:])
