#!/usr/bin/env python3
"""What a camera request costs, in figures that no load of the machine changes.

usage: request_cost_test.py BIN

  allocations    none, neither in the client nor in the camera
  system calls   at most 9, of client and camera together
  instructions   at most 4000 of the client's own

A program runs a few requests and the same program many: the difference is that of the requests.
Under strace every thread stops at each of its calls, so that the locks are met in their worst order:
what is counted there is the most that a request takes. All of it runs on one core: on several, how
often two threads meet at a lock is the scheduler's luck. Whatever else the machine does interrupts a
thread that holds a lock now and then, which only ever adds calls: the least of several counts is the
request's own.
"""

import os
import re
import subprocess
import sys
import tempfile

FEW, MANY = 100, 1100
COUNTS = 5
MOST_CALLS = 9
MOST_INSTRUCTIONS = 4000
# The start of a program does not cost the same each time: a call more or less in a thousand requests
# is none of theirs.
SLACK = 0.05


def run(command):
    """Runs to a good end; what was written to standard error."""
    done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                          check=False, timeout=100)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)} ended with {done.returncode}:\n{done.stderr}")
    return done.stderr


def calls(bin_dir, directory, times):
    """System calls of a run of client and camera, by name."""
    summary = os.path.join(directory, "calls")
    run(["strace", "-f", "-c", "-U", "calls,name", "-o", summary,
         os.path.join(bin_dir, "request_loop"), str(times), "camera"])
    with open(summary, encoding="utf-8") as lines:
        rows = re.findall(r"^ *([0-9]+) ([a-z0-9_]+)$", lines.read(), re.MULTILINE)
    return {name: int(count) for count, name in rows if name != "total"}


def instructions(bin_dir, directory, times):
    """Instructions of a run of the client."""
    text = run(["valgrind", "--tool=callgrind",
                "--callgrind-out-file=" + os.path.join(directory, "callgrind"),
                os.path.join(bin_dir, "request_loop"), str(times)])
    return int(re.search(r"Collected : ([0-9]+)", text).group(1))


def per_request(few, many):
    """What one of the requests takes by which the runs differ."""
    return (many - few) / (MANY - FEW)


def check(what, figure, most):
    """Says and judges a figure."""
    good = figure <= most + SLACK
    print(f"{what} a request: {figure:.2f} of at most {most}{'' if good else ': TOO MANY'}")
    return good


def calls_of_a_request(bin_dir, directory):
    """By name."""
    few, many = (calls(bin_dir, directory, times) for times in (FEW, MANY))
    return {name: per_request(few.get(name, 0), many[name]) for name in many}


def count_calls(bin_dir, directory):
    """True when there are few enough of them."""
    counts = (calls_of_a_request(bin_dir, directory) for _ in range(COUNTS))
    by_name = min(counts, key=lambda count: sum(count.values()))
    for name, count in sorted(by_name.items()):
        if count >= 0.01:
            print(f"  {name} {count:.2f}")
    return check("system calls", sum(by_name.values()), MOST_CALLS)


def count_instructions(bin_dir, directory):
    """Likewise, beside a camera of its own."""
    with subprocess.Popen([os.path.join(bin_dir, "camera_sim")], stdin=subprocess.PIPE,
                          stdout=subprocess.DEVNULL) as camera:
        few, many = (instructions(bin_dir, directory, times) for times in (FEW, MANY))
        camera.communicate(b"quit\n", timeout=20)
    return check("instructions", per_request(few, many), MOST_INSTRUCTIONS)


def main():
    """The three counts."""
    bin_dir = sys.argv[1]
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    with tempfile.TemporaryDirectory() as directory:
        os.environ["VLM_BUS_DIR"] = os.path.join(directory, "bus")
        run([os.path.join(bin_dir, "request_loop"), str(MANY), "camera"])
        print("allocations a request: none")
        good = [count_calls(bin_dir, directory), count_instructions(bin_dir, directory)]
    sys.exit(0 if all(good) else 1)


if __name__ == "__main__":
    main()
