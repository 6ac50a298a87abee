#!/usr/bin/env python3
"""The judge of the soak tests: what it has to notice."""
import sys
import unittest
from collections import Counter
from unittest.mock import Mock

import camera_log
import fleet_outage_test
from clients import NOT_SENT, TIMEOUT, Outcome, Stuck, engine_outcome
from commands import Command
from fleet_load import compare, foreign_lines, judge_bridge
from fleet_outage_test import DONE, SILENT, UNSENT
from lane import judge
from soak import grown

SET_METERING = Command(18, b"\x01", " 1", 19, b"\x01")
GET_MODE = Command(1, option=4121, one_byte=True)


def log(*lines):
    """The camera's log, a line each tenth of a second from 10 on."""
    return camera_log.read([(10 + number / 10, line) for number, line in enumerate(lines)])


class TheLog(unittest.TestCase):
    def reply(self, line):
        return log(line).replies[0]

    def test_tells_the_codes_and_the_data_of_requests_and_replies(self):
        read = log("-> 18 SET_METER_MODE 01", "<- 18 SET_METER_MODE [9 VLM is capturing] 07",
                   "-> 206 get lens.focus")
        self.assertEqual([(each.code, each.payload) for each in read.requests],
                         [(18, b"\1"), (206, b"")])
        self.assertEqual((read.replies[0].code, read.replies[0].error), (18, 9))
        self.assertEqual(read.replies[0].payload, b"\7" + bytes(127))

    def test_shows_a_cut_reply_completed_with_zeros(self):
        reply = self.reply("<- 300 X [9 VLM is capturing] 07 08, of 4 bytes")
        self.assertEqual((reply.kind, reply.code, reply.error), (3, 300, 0))
        self.assertEqual(reply.payload, b"\7" + bytes(127))
        self.assertEqual(self.reply("<- 300 X [9 E], of 2 bytes").code, 300 & 0xFF)
        self.assertEqual(self.reply("<- 300 X [9 E], of 0 bytes").kind, 0)

    def test_shows_a_flipped_bit_where_it_is(self):
        self.assertEqual(self.reply("<- 1 M [0 OK] 02, bit 0 flipped").kind, 2)
        self.assertEqual(self.reply("<- 1 M [0 OK] 02, bit 9 flipped").code, 3)
        self.assertEqual(self.reply("<- 1 M [0 OK] 02, bit 24 flipped").payload[0], 3)
        self.assertEqual(self.reply("<- 1 M [0 OK] 02, of 300 bytes, bit 1048 flipped").error, 1)

    def test_counts_what_was_not_answered(self):
        self.assertEqual(log("<- lost: 1 M [0 OK]", "ignored: muted",
                             "ignored: the camera restarts").silent, 3)


class TheJudge(unittest.TestCase):
    def judged(self, command, outcome, *lines):
        return judge(command, outcome, 10, log(*lines))

    def test_is_content_when_the_outcome_is_the_camera_s(self):
        asked = "-> 18 SET_METER_MODE 01"
        self.assertIsNone(self.judged(SET_METERING, Outcome(0), asked, "<- 18 S [0 OK]"))
        self.assertIsNone(self.judged(SET_METERING, Outcome(9), asked, "<- 18 S [9 E]"))
        self.assertIsNone(self.judged(SET_METERING, Outcome(TIMEOUT), asked))
        self.assertIsNone(self.judged(SET_METERING, Outcome(TIMEOUT), asked, "<- 17 S [0 OK]"))

    def test_notices_a_success_that_nobody_sent(self):
        asked = "-> 18 SET_METER_MODE 01"
        for reply in ("<- 18 S [9 E]", "<- 17 S [0 OK]", "<- lost: 18 S [0 OK]",
                      "<- 18 S [0 OK], of 1 bytes"):
            self.assertIn("no such reply", self.judged(SET_METERING, Outcome(0), asked, reply))

    def test_notices_a_reply_that_got_lost_on_its_way(self):
        asked = "-> 18 SET_METER_MODE 01"
        for outcome in (Outcome(TIMEOUT), Outcome(TIMEOUT, heard=True)):
            self.assertIn("in time", self.judged(SET_METERING, outcome, asked, "<- 18 S [0 OK]"))
        self.assertIsNone(self.judged(SET_METERING, Outcome(TIMEOUT, heard=False), asked,
                                      "<- 18 S [0 OK]"))

    def test_notices_a_request_that_was_changed_doubled_or_never_sent(self):
        for asked in (["-> 18 SET_METER_MODE 02"], ["-> 17 S 01"], [], ["-> 18 S 01"] * 2):
            self.assertIn("was asked", self.judged(SET_METERING, Outcome(0), *asked,
                                                   "<- 18 S [0 OK]"))

    def test_lets_a_client_give_up_on_a_camera_that_has_not_seen_the_request(self):
        for error in (TIMEOUT, NOT_SENT):
            self.assertIsNone(self.judged(SET_METERING, Outcome(error)))
        self.assertIn("was asked", self.judged(SET_METERING, Outcome(TIMEOUT, heard=True)))
        self.assertIn("no such reply", self.judged(SET_METERING, Outcome(NOT_SENT),
                                                   "-> 18 SET_METER_MODE 01", "<- 18 S [0 OK]"))

    def test_notices_other_data(self):
        lines = ("-> 1 GET_CAMERA_MODE", "<- 1 GET_CAMERA_MODE [0 OK] 02")
        self.assertIsNone(self.judged(GET_MODE, Outcome(0, b"\2"), *lines))
        self.assertIn("other data", self.judged(GET_MODE, Outcome(0, b"\1"), *lines))


class TheEngine(unittest.TestCase):
    def outcome(self, *lines):
        return engine_outcome([(0, line) for line in lines])

    def test_ends_with_success_an_error_or_a_time_out(self):
        finished = "finish waiting for cmd X response. error code: "
        self.assertEqual(self.outcome(finished + "0", "Recv X Ack OK").error, 0)
        self.assertEqual(self.outcome(finished + "9", "LCM request X failed with: E").error, 9)
        self.assertEqual(self.outcome("error: LCM request X timeout waiting for answer",
                                      "LCM request X failed with: E").error, TIMEOUT)

    def test_tells_whether_it_heard_its_own_reply(self):
        end = ("error: LCM request X timeout waiting for answer", "LCM request X failed with: E")
        self.assertTrue(self.outcome("Send X", "LCM request X took: 3 ms, error 0", *end).heard)
        self.assertFalse(self.outcome("Send X", "LCM request Y took: 3 ms, error 0", *end).heard)

    def test_may_not_say_nothing_two_things_or_that_it_is_broken(self):
        for lines in ([], ["Recv X Ack OK"],
                      ["finish waiting for cmd X response. error code: 9", "Recv X Ack OK"],
                      ["finish waiting for cmd X response. error code: 0", "Recv X Ack OK"] * 2,
                      ["finish waiting for cmd X response. error code: 0", "Recv X Ack OK",
                       "!!!!CRITICAL!!!! ..."]):
            with self.assertRaises(Stuck):
                self.outcome(*lines)


class TheLoad(unittest.TestCase):
    """Of the test through a broker."""
    ASKED = ["get_camera_mode() is ready.", "Send GET_CAMERA_MODE",
             "LCM request GET_CAMERA_MODE took: 0 ms, error 0",
             "finish waiting for cmd GET_CAMERA_MODE response. error code: 0",
             "Recv GET_CAMERA_MODE Ack OK", "camera_mode = 1(1:video,2:photo)"]

    def foreign(self, *lines):
        return foreign_lines([(0, line) for line in lines])

    def test_is_content_with_a_transcript_of_one_command(self):
        self.assertEqual(self.foreign(*self.ASKED), [])
        self.assertEqual(self.foreign("Send SET_WB", "LCM request SET_WB failed with: E"), [])

    def test_notices_what_is_about_another_command(self):
        for line in ("LCM request SET_WB took: 0 ms, error 0", "Recv SET_WB Ack OK", "Send SET_WB",
                     "finish waiting for cmd SET_WB response. error code: 0",
                     "LCM request SET_WB failed with: E", "not waiting on answer",
                     "error: LCM request SET_WB timeout waiting for answer"):
            self.assertEqual(self.foreign(*self.ASKED, line), [line])

    def test_notices_a_second_reply(self):
        self.assertEqual(self.foreign(*self.ASKED, self.ASKED[2]), [self.ASKED[2]])

    def test_holds_what_was_asked_against_what_the_camera_did(self):
        lines = ["-> 18 SET_METER_MODE 01", "<- 18 SET_METER_MODE [0 OK]", "-> 31 V", "<- 31 V [0 OK]"]
        asker = Mock(asked=Counter({(18, b"\1"): 1}), outcomes=Counter({(18, 0): 1}))
        self.assertEqual(compare([asker], log(*lines)), [])
        for seen in (lines[2:], lines + lines[:2], ["-> 18 S 02", lines[1]], [lines[0], "<- 18 S [9 E]"]):
            self.assertNotEqual(compare([asker], log(*seen)), [])
        self.assertNotEqual(compare([asker, asker], log(*lines)), [])

    def test_holds_the_counts_of_the_bridge_against_the_others(self):
        told = "asked 9, answered 7, not answered 0, refused 0, dropped 0, stray 5, events 1"
        self.assertEqual(judge_bridge(told, 7, 5), [])
        self.assertEqual(judge_bridge(told, 8, 5), ["the bridge: answered 7, not 8"])
        self.assertEqual(judge_bridge(told, 7, 4), ["the bridge: stray 5, not 4"])
        self.assertEqual(judge_bridge(told.replace("refused 0", "refused 2"), 7, 5),
                         ["the bridge: refused 2, not 0"])


class TheOutage(unittest.TestCase):
    """Of the broker."""
    def judged(self, outcomes, done):
        return len(fleet_outage_test.judge(Counter(outcomes), Counter(done)))

    def test_lets_what_was_not_answered_be_executed_once_or_never(self):
        code = fleet_outage_test.BEFORE.code
        for done in (2, 3):
            self.assertEqual(self.judged({("a", code, DONE): 2, ("a", code, SILENT): 1},
                                         {("a", code): done}), 0)

    def test_notices_what_was_executed_twice_or_only_answered(self):
        code = fleet_outage_test.AFTER.command.code
        for done in (1, 4):
            self.assertEqual(self.judged({("a", code, DONE): 2, ("a", code, SILENT): 1},
                                         {("a", code): done, ("b", 31): 1}), 1)
        self.assertEqual(self.judged({("a", code, UNSENT): 1}, {("a", code): 1}), 1)
        self.assertEqual(self.judged({}, {("a", code): 1}), 1)

    def test_notices_what_was_executed_though_the_broker_was_away(self):
        code = fleet_outage_test.AWAY.command.code
        self.assertEqual(self.judged({("a", code, SILENT): 1}, {}), 0)
        self.assertEqual(self.judged({("a", code, SILENT): 1}, {("a", code): 1}), 1)

    def test_counts_what_each_camera_of_a_fleet_executed(self):
        lines = ["lab-1 -> 9 GET_EV", "lab-2 -> 9 GET_EV", "lab-1 <- 9 GET_EV [0 OK]",
                 "camera_sim: ready, 2 cameras, seed 1", "lab-2 <- 9 GET_EV [0 OK]", "lab-2 -> 9 GET_EV"]
        counts, unanswered = fleet_outage_test.executed(list(enumerate(lines)))
        self.assertEqual(counts, Counter({("lab-1", 9): 1, ("lab-2", 9): 2}))
        self.assertEqual(unanswered, ["lab-2: 2 requests, 1 replies"])


class TheDescriptors(unittest.TestCase):
    def test_may_not_grow_by_one(self):
        before = [("camera_sim", Counter({"socket:": 6})), ("vlm_test", Counter({"socket:": 2}))]
        after = [("camera_sim", Counter({"socket:": 7})), ("vlm_test", Counter({"socket:": 1}))]
        self.assertEqual(grown(before, before), [])
        self.assertEqual(grown(before, after), ["descriptors of camera_sim grew by {'socket:': 1}"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
