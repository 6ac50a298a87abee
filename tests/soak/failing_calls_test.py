#!/usr/bin/env python3
"""Console, UDP service and simulated camera on a machine on which calls fail.

usage: failing_calls_test.py BIN_DIRECTORY FAILING_CALLS_LIBRARY

For each call, the first, the second ... of a run fails, until a run makes no more of them. Each run ends
with a message, or serves; none hangs, crashes, or tells what did not happen. The SD card takes nothing
while the service logs to it. Prints how many runs there were.
"""
import errno
import os
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

import camera_log
from clients import TIMEOUT, Service, engine_outcome
from commands import COMMANDS, STATUS
from lane import judge
from programs import Program, Stuck, await_line, wait

LIMIT = 60  # seconds; a busy machine is slow
MOST_CALLS = 500  # a sweep that does not end is wrong itself

CALLS = {"socket": errno.EMFILE, "bind": errno.EADDRNOTAVAIL, "sendto": errno.ENOBUFS,
         "recv": errno.ENOMEM, "open": errno.EMFILE, "write": errno.EIO, "fsync": errno.EIO,
         "pthread_create": errno.EAGAIN}

GET_STATUS = next(each for each in COMMANDS if each.code == STATUS)
GET_MODE = next(each for each in COMMANDS if each.code == 1)


class Place:
    """A bus and an SD card of its own, on which the logs are switched on."""

    def __init__(self, programs):
        self._programs = programs
        self._directory = tempfile.TemporaryDirectory(prefix="vlm_calls.")
        self.card = os.path.join(self._directory.name, "card")
        os.mkdir(self.card)
        with open(os.path.join(self.card, "trigger"), "w", encoding="ascii"):
            pass
        self.sign = os.path.join(self._directory.name, "failed")
        self.environment = dict(os.environ, VLM_BUS_DIR=os.path.join(self._directory.name, "bus"))
        self.started = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for program in self.started:
            program.end()
        self._directory.cleanup()

    def start(self, name, *options, failing=None):
        program = Program(os.path.join(self._programs, name), *options,
                          environment=dict(self.environment, **(failing or {})))
        self.started.append(program)
        return program

    def camera(self, failing=None):
        return self.start("camera_sim", "--verbose", failing=failing)


def require(condition, *what):
    if not condition:
        raise Stuck(" ".join(str(each) for each in what))


def ends(program, *beside):
    """Its status, once it has ended by itself; it has said why it was not 0."""
    require(wait(lambda: program.ended, LIMIT, program, *beside), program.name, "does not end")
    status = program.process.wait(LIMIT)
    require(status in (0, 1), program.name, "ended with", status, program.all_errors())
    require(status == 0 or program.all_errors() or program.lines, program.name, "ended in silence")
    return status


def ask_console(place, camera, failing=None):
    """The result of a status request; a time-out is explained."""
    camera.drain()
    camera.lines.clear()
    console = place.start("vlm_test", str(STATUS), failing=failing)
    if ends(console, camera) != 0:
        return None
    outcome = engine_outcome(console.lines)
    camera.drain()
    if outcome.error != TIMEOUT:
        log = camera_log.read(camera.lines)
        log.requests = log.requests[-1:]  # before it may be one whose time was over
        objection = judge(GET_STATUS, outcome, 0, log)
        require(objection is None, objection, console.lines)
    return outcome.error


def times_out_in_silence(place, camera, failing):
    timed_out = ask_console(place, camera, failing) == TIMEOUT
    return timed_out and os.path.exists(place.sign) and not place.started[-1].all_errors()


def try_console(place, failing):
    camera = place.camera()
    await_line(camera, "camera_sim: ready")
    # Each run is the same but for what else the machine does, which may take half a second itself.
    require(not all(times_out_in_silence(place, camera, failing) for _ in range(3)),
            "a time-out in silence")
    if passes(failing):
        require(any(ask_console(place, camera, failing) == 0 for _ in range(3)), "it is deaf")
    require(any(ask_console(place, camera) == 0 for _ in range(20)), "it left the camera dead")


def passes(failing):
    """Whether it is a failure to receive, of which nothing may be left once it has passed."""
    return failing["FAILING_CALL"].startswith("recv")


def try_deaf_console(programs, library):
    """Where nothing can ever be received, that is said once, and each request still ends."""
    with Place(programs) as place:
        camera = place.camera()
        await_line(camera, "camera_sim: ready")
        failing = {"LD_PRELOAD": library, "FAILING_CALL": "recv:1+", "FAILING_ERROR": str(errno.ENOMEM),
                   "FAILING_SIGN": place.sign}
        require(ask_console(place, camera, failing) == TIMEOUT, "it heard what it cannot receive")
        told = place.started[-1].all_errors()
        require(told == "vlm_bus: cannot receive on velmar_udp_repeater: Cannot allocate memory\n", told)


def serves_or_has_ended(program, ready):
    require(wait(lambda: program.printed(ready) or program.ended, LIMIT, program), program.name,
            "neither serves nor ends")
    if not program.ended:
        return True
    require(program.process.wait(LIMIT) == 1, program.name, "ended with", program.process.returncode)
    require(f"{program.name}: " in program.all_errors(), program.name, "ended in silence")
    return False


def ends_on_a_signal(program):
    program.process.terminate()
    require(ends(program) == 0, program.name, "did not end well")


def try_service(place, failing):
    camera = place.camera()
    await_line(camera, "camera_sim: ready")
    program = place.start("vlm_udp_service", "--port", "0", "--sdcard", place.card, failing=failing)
    if failing["FAILING_CALL"].startswith("write"):
        return try_output(program, camera)
    if not serves_or_has_ended(program, "serving port"):
        return None
    service = Service(program)
    for _ in range(6):
        camera.drain()
        camera.lines.clear()
        try:
            outcome = service.ask(GET_MODE, 10, camera)
        except Stuck:  # a reply that could not be sent
            continue
        camera.drain()
        if outcome.error == TIMEOUT:
            require(program.all_errors(), "a time-out in silence", program.lines)
            continue
        objection = judge(GET_MODE, outcome, 0, camera_log.read(camera.lines))
        require(objection is None, objection)
        break
    else:
        require(program.all_errors() and not passes(failing), "no reply", program.lines)
    return ends_on_a_signal(program)


def try_output(program, camera):
    """Output that could not be written is told of before the next one."""
    pattern = "serving port|lines of output were dropped"
    for _ in range(LIMIT * 10):
        camera.say("notify 8")  # which the service prints
        if wait(lambda: program.printed(pattern), 0.1, program):
            return ends_on_a_signal(program)
    raise Stuck("output was lost in silence")


def try_camera(place, failing):
    camera = place.camera(failing)
    if not serves_or_has_ended(camera, "camera_sim: ready"):
        return
    answered = any(ask_console(place, camera) == 0 for _ in range(20))
    require(answered or (camera.all_errors() and not passes(failing)), "no reply")
    ends_on_a_signal(camera)


def sweep(programs, library, attempt, call):
    """Lets the first, the second ... call fail. Returns how many there were."""
    for number in range(1, MOST_CALLS):
        with Place(programs) as place:
            failing = {"LD_PRELOAD": library, "FAILING_CALL": f"{call}:{number}",
                       "FAILING_ERROR": str(CALLS[call]), "FAILING_SIGN": place.sign}
            try:
                attempt(place, failing)
            except Stuck as stuck:
                raise Stuck(f"{attempt.__name__}, {call} number {number} failed: {stuck}") from stuck
            if not os.path.exists(place.sign):
                return number - 1
    raise Stuck(f"{attempt.__name__} makes more than {MOST_CALLS} calls of {call}")


def try_full_card(programs, library, call, error):
    """A card that takes nothing does not keep the service from serving."""
    with Place(programs) as place:
        failing = {"LD_PRELOAD": library, "FAILING_CALL": f"{call}:1+", "FAILING_ERROR": str(error),
                   "FAILING_SIGN": place.sign, "FAILING_PATH": place.card}
        camera = place.camera()
        await_line(camera, "camera_sim: ready")
        program = place.start("vlm_udp_service", "--port", "0", "--sdcard", place.card,
                              failing=failing)
        service = Service(program)
        for command in [each for each in COMMANDS if each.option is not None] * 3:
            camera.drain()
            camera.lines.clear()
            outcome = service.ask(command, LIMIT, camera)
            camera.drain()
            objection = judge(command, outcome, 0, camera_log.read(camera.lines))
            require(objection is None, command, objection)
        require(os.path.exists(place.sign), "nothing was written to the card")
        ends_on_a_signal(program)


def main():
    programs, library = sys.argv[1:]
    jobs = {f"{attempt.__name__[4:]} {call}": (sweep, programs, library, attempt, call)
            for attempt in (try_console, try_service, try_camera) for call in CALLS}
    for call, error in (("write", errno.ENOSPC), ("write", errno.EIO), ("fsync", errno.EIO)):
        jobs[f"card {call} {errno.errorcode[error]}"] = (try_full_card, programs, library, call, error)
    jobs["console without recv"] = (try_deaf_console, programs, library)
    good = True
    with ThreadPoolExecutor(8) as pool:  # they mostly wait
        results = {name: pool.submit(*job) for name, job in jobs.items()}
        for name, result in results.items():
            try:
                calls = result.result()
                print(f"{name}:", "served" if calls is None else f"{calls} calls")
            except Stuck as stuck:
                print(f"{name}: {stuck}")
                good = False
    sys.exit(not good)


if __name__ == "__main__":
    main()
