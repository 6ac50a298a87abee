// What the monitor says of packets: marks, lines, JSON, filters, statistics, the latency table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bus_packets.h"
#include "filter.h"
#include "latency_picture.h"
#include "line.h"
#include "observer.h"
#include "payload_values.h"
#include "statistics.h"
#include "status_table.h"

using namespace vlm::monitor;

namespace {

std::vector<Observation> observe(const std::vector<Entry>& entries, std::int64_t until_ms = -1) {
  Observer observer;
  std::vector<Observation> all;
  for (const Entry& entry : entries) {
    for (const Observation& observation : observer.take(entry)) all.push_back(observation);
  }
  if (until_ms >= 0) {
    for (const Observation& late : observer.expire(kStartNs + until_ms * kMsNs)) {
      all.push_back(late);
    }
  }
  return all;
}

std::string text(const std::vector<Entry>& entries, std::int64_t until_ms = -1) {
  std::string all;
  for (const Observation& observation : observe(entries, until_ms)) {
    all += text_line(observation, {});
  }
  return all;
}

std::string only_line(const Entry& entry) { return text({entry}); }

TEST(BusLine, NamesRequestReplyResultAndRoundTrip) {
  EXPECT_EQ(text({request(0, 83, {0, 0, 32, 64}), reply(2, 83), request(5, 82),
                  reply(6, 82, {0, 0, 32, 64}), request(10, 5), reply(11, 5, {}, 6)}),
            "     1     0.000000 request SET_ZOOM lens.zoom=2.5\n"
            "     2     0.002000 reply   SET_ZOOM ok 2.000 ms\n"
            "     3     0.005000 request GET_ZOOM\n"
            "     4     0.006000 reply   GET_ZOOM ok 1.000 ms lens.zoom=2.5\n"
            "     5     0.010000 request STOP_RECORD\n"
            "     6     0.011000 reply   STOP_RECORD error 6 (VLM is not recording) 1.000 ms\n");
}

TEST(BusLine, NamesNotificationsAndTheSideChannel) {
  EXPECT_EQ(only_line(notification(0, 5, {0x4A})),
            "     1     0.000000 notify  SDCARD_STATUS status=2 storage_id=1 count=2\n");
  EXPECT_EQ(only_line(notification(0, 7, {2})), "     1     0.000000 notify  UPDATE_CAMERA_MODE\n");
  EXPECT_EQ(
      text({side_packet(0, kRtspRequestChannel, 5, 30), side_packet(1, kRtspReplyChannel, 6, 0),
            side_packet(2, kRtspRequestChannel, 7, 1), side_packet(3, kRtspReplyChannel, 8, 1)}),
      "     1     0.000000 side    SEND_FPS fps=30\n"
      "     2     0.001000 ack     SEND_FPS_ACK 1.000 ms\n"
      "     3     0.002000 side    SET_FLC_STATUS flag=1\n"
      "     4     0.003000 ack     SET_FLC_STATUS_ACK 1.000 ms flag=1\n");
}

TEST(BusLine, TakesShortAndForeignPackets) {
  Entry cut = reply(0, 82, {0, 0, 32, 64});
  cut.packet.resize(64 + 5);  // half of the zoom: the rest is zero
  EXPECT_EQ(only_line(cut), "     1     0.000000 reply   GET_ZOOM ok lens.zoom=raw:0 [unasked]\n");
  EXPECT_EQ(only_line({kStartNs, "else\nwhere", {1, 2}, {}}),
            "     1     0.000000 other   else.where bytes=\n");
  EXPECT_EQ(only_line(bus_packet(0, "elsewhere", "me", "\x03zz", 3)),
            "     1     0.000000 other   elsewhere bytes=037a7a\n");
  EXPECT_EQ(only_line(bus_packet(0, kRequestChannel, "me", "\xFFprobe", 6)),
            "     1     0.000000 probe   PROBE\n");
  EXPECT_EQ(only_line(request(0, 63)), "     1     0.000000 request COMMAND_63\n");
}

TEST(BusLine, NeverShowsASecret) {
  const Entry password = request(0, 44, {'h', 'u', 's', 'h'});
  EXPECT_EQ(only_line(password),
            "     1     0.000000 request SET_WIFI_PASSWORD wifi.password=***\n");
  EXPECT_EQ(json_line(observe({password})[0], false).find("hush"), std::string::npos);
}

TEST(BusMark, NoAnswerComesWhenTheTimeOfTheRequestHasRunOut) {
  EXPECT_EQ(text({request(0, 82)}, 3000), "     1     0.000000 request GET_ZOOM\n");
  EXPECT_EQ(text({request(0, 82)}, 3001),
            "     1     0.000000 request GET_ZOOM\n"
            "     -     3.000000 timeout GET_ZOOM request 1 after 3000 ms [no answer]\n");
  EXPECT_EQ(text({request(0, 6), reply(600, 6, {3})}),
            "     1     0.000000 request GET_CAMERA_STATUS\n"
            "     -     0.500000 timeout GET_CAMERA_STATUS request 1 after 500 ms [no answer]\n"
            "     2     0.600000 reply   GET_CAMERA_STATUS ok camera.status=recording [unasked]\n");
  EXPECT_EQ(text({side_packet(0, kRtspRequestChannel, 9, 0)}, 201),
            "     1     0.000000 side    GET_FLC_STATUS\n"
            "     -     0.200000 timeout GET_FLC_STATUS request 1 after 200 ms [no answer]\n");
}

TEST(BusMark, UnaskedIsAnAnswerWithoutARequest) {
  EXPECT_EQ(text({reply(0, 83)}), "     1     0.000000 reply   SET_ZOOM ok [unasked]\n");
  EXPECT_EQ(text({request(0, 82), reply(1, 83), reply(2, 82, {0, 0, 128, 63})}),
            "     1     0.000000 request GET_ZOOM\n"
            "     2     0.001000 reply   SET_ZOOM ok [unasked]\n"
            "     3     0.002000 reply   GET_ZOOM ok 2.000 ms lens.zoom=1\n");
  EXPECT_EQ(text({request(0, 83), reply(1, 83), reply(2, 83)}),
            "     1     0.000000 request SET_ZOOM lens.zoom=raw:0\n"
            "     2     0.001000 reply   SET_ZOOM ok 1.000 ms\n"
            "     3     0.002000 reply   SET_ZOOM ok [unasked]\n");
}

TEST(BusMark, CrossedIsARequestWhileAnotherOneWaits) {
  EXPECT_EQ(text({request(0, 82), request(1, 1), reply(2, 1, {1}), reply(3, 82)}),
            "     1     0.000000 request GET_ZOOM\n"
            "     2     0.001000 request GET_CAMERA_MODE [crossed]\n"
            "     3     0.002000 reply   GET_CAMERA_MODE ok 1.000 ms camera.mode=video\n"
            "     4     0.003000 reply   GET_ZOOM ok 3.000 ms lens.zoom=raw:0\n");
  // The side channel is another conversation.
  EXPECT_EQ(text({request(0, 82), side_packet(1, kRtspRequestChannel, 9, 0)}),
            "     1     0.000000 request GET_ZOOM\n"
            "     2     0.001000 side    GET_FLC_STATUS\n");
}

TEST(BusMark, DroppedTellsOfOwnLossesAndNothingIsSaidOfWhatMayBeAmongThem) {
  EXPECT_EQ(text({request(0, 82), note(1, "5 packets lost"), reply(2, 83), reply(3500, 83)}, 9000),
            "     1     0.000000 request GET_ZOOM\n"
            "     2     0.001000 note    5 packets lost [dropped 5]\n"
            "     3     0.002000 reply   SET_ZOOM ok\n"
            "     4     3.500000 reply   SET_ZOOM ok [unasked]\n");
}

TEST(BusJson, HasOneObjectALine) {
  const auto all = observe(
      {request(0, 82), reply(2, 82, {0, 0, 32, 64}), note(3, "2 packets lost"), request(4, 1)},
      4000);
  ASSERT_EQ(all.size(), 5U);
  EXPECT_EQ(
      json_line(all[0], false),
      "{\"number\":1,\"time\":1767323045.000000000,\"since\":0.000000000,\"kind\":\"request\","
      "\"channel\":\"velmar_repeater_udp\",\"code\":82,\"name\":\"GET_ZOOM\",\"values\":{},"
      "\"round_trip_ms\":null,\"request\":null,\"mark\":null}\n");
  EXPECT_EQ(json_line(all[1], false),
            "{\"number\":2,\"time\":1767323045.002000000,\"since\":0.002000000,\"kind\":\"reply\","
            "\"channel\":\"velmar_udp_repeater\",\"code\":82,\"name\":\"GET_ZOOM\",\"err\":0,"
            "\"err_text\":\"VLM success\",\"values\":{\"lens.zoom\":2.5},\"round_trip_ms\":2.000,"
            "\"request\":1,\"mark\":null}\n");
  EXPECT_EQ(json_line(all[2], false),
            "{\"number\":3,\"time\":1767323045.003000000,\"since\":0.003000000,\"kind\":\"note\","
            "\"channel\":null,\"code\":null,\"name\":\"2 packets lost\",\"values\":{},"
            "\"round_trip_ms\":null,\"request\":null,\"mark\":\"dropped\",\"dropped\":2,"
            "\"comment\":\"2 packets lost\"}\n");
  EXPECT_EQ(json_line(all[4], false),
            "{\"number\":null,\"time\":1767323048.004000000,\"since\":3.004000000,"
            "\"kind\":\"timeout\",\"channel\":null,\"code\":1,\"name\":\"GET_CAMERA_MODE\","
            "\"values\":{},\"round_trip_ms\":null,\"request\":4,\"mark\":\"no answer\"}\n");
}

TEST(BusFilter, PassesWhatAllTermsHoldFor) {
  const auto all = observe({request(0, 83), reply(1, 83), request(2, 83), reply(5, 83, {}, 75),
                            request(6, 82), request(7, 1)},
                           4000);
  const auto numbers = [&](const std::string& terms) {
    Filter filter;
    std::string error;
    EXPECT_TRUE(filter.add(terms, error)) << error;
    std::string passed;
    for (const Observation& observation : all) {
      if (filter.passes(observation)) passed += std::to_string(observation.number) + ' ';
    }
    return passed;
  };
  EXPECT_EQ(numbers(""), "1 2 3 4 5 6 0 0 ");
  EXPECT_EQ(numbers("code=SET_ZOOM"), "1 2 3 4 ");
  EXPECT_EQ(numbers("code=UDP_CTRL_CAM_SET_ZOOM"), "1 2 3 4 ");
  EXPECT_EQ(numbers("code=83 err!=0"), "4 ");
  EXPECT_EQ(numbers("err=0"), "2 ");
  EXPECT_EQ(numbers("rtt>1.5"), "4 ");
  EXPECT_EQ(numbers("rtt<=1"), "2 ");
  EXPECT_EQ(numbers("kind=request code!=83"), "5 6 ");
  EXPECT_EQ(numbers("mark=crossed"), "6 ");
  EXPECT_EQ(numbers("mark=no_answer"), "0 0 ");
  EXPECT_EQ(numbers("number>=3 number<5"), "3 4 ");
  EXPECT_EQ(numbers("channel=velmar_udp_repeater"), "2 4 ");
}

TEST(BusFilter, RefusesWhatIsNoTerm) {
  for (const char* const word :
       {"zoom", "code", "code=", "code=NO_SUCH", "colour=red", "err=x", "kind<reply", "code~3"}) {
    Filter filter;
    std::string error;
    EXPECT_FALSE(filter.add(std::string("err=0 ") + word, error)) << word;
    EXPECT_EQ(error, std::string("no filter: ") + word);
  }
}

TEST(BusRedaction, BlanksThePasswordAndNothingElse) {
  const Entry before = request(0, 44, Bytes(21, 'p'));
  Entry after = before;
  ASSERT_TRUE(redact(after));
  EXPECT_EQ(after.comment, "redacted");
  ASSERT_EQ(after.packet.size(), before.packet.size());
  for (std::size_t i = 0; i < after.packet.size(); ++i) {
    const bool secret = i >= 67 && i < 67 + 21;
    EXPECT_EQ(after.packet[i], secret ? 0 : before.packet[i]) << i;
  }
  for (const int code : {1, 54, 83, 85}) {
    Entry other = request(0, code, Bytes(20, 'p'));
    EXPECT_FALSE(redact(other)) << code;
    EXPECT_EQ(other.packet, request(0, code, Bytes(20, 'p')).packet);
  }
  Entry cut = before;
  cut.packet.resize(70);
  ASSERT_TRUE(redact(cut));
  EXPECT_EQ(cut.packet[69], 0);
}

TEST(BusStatistics, CountByCommand) {
  Statistics statistics;
  for (const Observation& observation :
       observe({request(0, 83), reply(1, 83), request(10, 83), reply(13, 83, {}, 75),
                request(20, 82), note(30, "7 packets lost"), reply(31, 5, {}, 6)})) {
    statistics.add(observation);
  }
  EXPECT_EQ(statistics.json(),
            "{\"packets\":6,\"seconds\":0.031,\"per_second\":193.5,\"no_answer\":0,\"unasked\":0,"
            "\"crossed\":0,\"dropped\":7,\"commands\":{"
            "\"GET_ZOOM\":{\"requests\":1,\"errors\":0,\"no_answer\":0,\"answers\":0},"
            "\"SET_ZOOM\":{\"requests\":2,\"errors\":1,\"no_answer\":0,\"answers\":2,"
            "\"min_ms\":1.000,\"median_ms\":1.000,\"p99_ms\":3.000,\"max_ms\":3.000},"
            "\"STOP_RECORD\":{\"requests\":0,\"errors\":1,\"no_answer\":0,\"answers\":0}}}\n");
}

TEST(BusStatistics, QuantilesAreTrueToSevenPercent) {
  DurationHistogram histogram;
  for (std::int64_t us = 1; us <= 1000; ++us) histogram.add(us * 1000);
  EXPECT_EQ(histogram.min(), 1000);
  EXPECT_EQ(histogram.max(), 1'000'000);
  EXPECT_NEAR(static_cast<double>(histogram.quantile(0.5)), 500e3, 35e3);
  EXPECT_NEAR(static_cast<double>(histogram.quantile(0.99)), 990e3, 70e3);
  EXPECT_EQ(DurationHistogram().quantile(0.5), 0);
}

TEST(StatusTable, FitsTheTerminal) {
  const std::string text = "command  requests\nGET_ZOOM  1\nSET_ZOOM  2\n4 packets\n";
  EXPECT_EQ(fitting(text, {}), text);
  EXPECT_EQ(fitting(text, {5, 17}), text);
  EXPECT_EQ(fitting(text, {4, 80}), "command  requests\nGET_ZOOM  1\n4 packets\n");
  EXPECT_EQ(fitting(text, {1, 3}), "4 p\n");
  EXPECT_EQ(fitting("", {5, 5}), "");
}

TEST(BusLine, ShowsTheBytesBelowWhenTheyAreWanted) {
  const Entry entry = bus_packet(0, "elsewhere", "me", "\x03zz", 3);
  const std::string lines = text_line(observe({entry})[0], {true, false});
  EXPECT_EQ(lines,
            "     1     0.000000 other   elsewhere bytes=037a7a\n"
            "        0000  6d65" +
                std::string(60, '0') +
                "\n"
                "        0020  " +
                std::string(64, '0') +
                "\n"
                "        0040  037a7a\n");
  EXPECT_NE(json_line(observe({entry})[0], true).find("000037a7a\"}\n"), std::string::npos);
}

TEST(BusMark, FloodOfRequestsIsFollowedInStepWithIt) {
  // Each new one lets the time of an older one run out: not a look at all that wait.
  constexpr int kRequests = 200'000;
  Observer observer;
  std::uint64_t unanswered = 0;
  for (int i = 0; i < kRequests; ++i) {
    Entry entry = request(0, 82);
    entry.time_ns = kStartNs + std::int64_t{i} * 50'000;  // 20,000 a second
    unanswered += observer.take(std::move(entry)).size() - 1;
  }
  EXPECT_EQ(unanswered, static_cast<std::uint64_t>(kRequests - 3 * 20'000 - 1));
}

TEST(LatencyPicture, TellsEachRoundTripAndEachTimeOut) {
  LatencyPicture picture;
  for (const Observation& observation : observe({request(0, 83), reply(1, 83), request(10, 82),
                                                 request(5000, 5), reply(5002, 5, {}, 6)})) {
    picture.add(observation);
  }
  EXPECT_EQ(picture.csv(),
            "number,since_s,name,code,err,round_trip_ms,mark\n"
            "2,0.001000000,SET_ZOOM,83,0,1.000,\n"
            "3,3.010000000,GET_ZOOM,82,,,no answer\n"
            "5,5.002000000,STOP_RECORD,5,6,2.000,\n");
  const std::string svg = picture.svg();
  const auto count = [&](const std::string& part) {
    int found = 0;
    for (auto at = svg.find(part); at != svg.npos; at = svg.find(part, at + 1)) ++found;
    return found;
  };
  EXPECT_EQ(count("<circle"), 2);
  EXPECT_EQ(count("fill=\"#c00\""), 1);  // the refusal
  EXPECT_EQ(count("<path"), 1);          // the time-out
  EXPECT_NE(svg.find("2 answered, 1 without an answer"), svg.npos);
}

TEST(LatencyPicture, StaysSmallForALongRecording) {
  LatencyPicture picture;
  for (int i = 0; i < 200000; ++i) {
    Observation observation;
    observation.number = static_cast<std::uint64_t>(i) + 1;
    observation.since_ns = i * kMsNs;
    observation.decoded.kind = Kind::kReply;
    observation.finding.round_trip_ns = 20000 + i % 1000;
    picture.add(observation);
  }
  EXPECT_LT(picture.svg().size(), 1U << 20);
}

}  // namespace
