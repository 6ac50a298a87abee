#include "request_desk.h"

#include <gtest/gtest.h>

namespace {

using vlm::fleet::RequestDesk;
using Step = RequestDesk::Step;
using std::chrono::milliseconds;

/// A desk and its clock. Steps read as "ask 1 of a", "answer ...", "refuse ...: full", "give up ...".
class Desk : public testing::Test {
 protected:
  std::string submit(const std::string& client, u16 code, int patience_ms = 3000,
                     int expires_ms = 3000) {
    RequestDesk::Request request;
    request.client = client;
    request.code = request.answer = code;
    request.patience = milliseconds(patience_ms);
    request.expires = now + milliseconds(expires_ms);
    return text(desk.submit(request, now));
  }
  std::string answer(u16 code) { return text(desk.answered(code, now, asked)); }
  void overhear(u16 code, int patience_ms = 3000) { overhear_of(now, code, patience_ms); }
  /// One that was published at `time`.
  void overhear_of(RequestDesk::TimePoint time, u16 code, int patience_ms = 3000) {
    desk.overheard(code, milliseconds(patience_ms), {time, time}, now);
  }
  std::string pass(int ms) {
    now += milliseconds(ms);
    return text(desk.pass(now));
  }
  /// Milliseconds until something is due; -1: nothing is.
  long due() const {
    const auto time = desk.due(now);
    return time ? std::chrono::duration_cast<milliseconds>(*time - now).count() : -1;
  }

  static std::string text(const RequestDesk::Steps& steps) {
    static const char* const kNames[] = {"ask", "answer", "refuse", "give up"};
    std::string all;
    for (const Step& step : steps) {
      if (!all.empty()) all += "; ";
      all += std::string(kNames[step.kind]) + ' ' + std::to_string(step.request.code) + " of " +
             step.request.client;
      if (step.kind != Step::kRefuse) continue;
      all += step.refusal == RequestDesk::Refusal::kFull ? ": full" : ": waited too long";
    }
    return all;
  }

  RequestDesk desk;
  RequestDesk::TimePoint now{};
  bool asked = false;
};

TEST_F(Desk, SendsARequestAtOnceWhenNobodyWaits) {
  EXPECT_EQ(submit("a", 1), "ask 1 of a");
  EXPECT_EQ(answer(1), "answer 1 of a");
  EXPECT_TRUE(asked);
}

TEST_F(Desk, HasOneRequestInFlight) {
  submit("a", 1);
  EXPECT_EQ(submit("b", 1), "");
  EXPECT_EQ(answer(1), "answer 1 of a; ask 1 of b");
  EXPECT_EQ(answer(1), "answer 1 of b");
}

TEST_F(Desk, IsFairBetweenClientsAndKeepsTheOrderOfEach) {
  submit("a", 1);
  submit("a", 2);
  submit("a", 3);
  submit("b", 4);
  submit("b", 5);
  EXPECT_EQ(answer(1), "answer 1 of a; ask 2 of a");
  EXPECT_EQ(answer(2), "answer 2 of a; ask 4 of b");
  EXPECT_EQ(answer(4), "answer 4 of b; ask 3 of a");
  EXPECT_EQ(answer(3), "answer 3 of a; ask 5 of b");
}

TEST_F(Desk, RefusesAtOnceWhen32Wait) {
  submit("a", 1);
  for (int i = 0; i < 32; ++i) EXPECT_EQ(submit("a", 2), "");
  EXPECT_EQ(desk.waiting(), 32U);
  EXPECT_EQ(submit("b", 3), "refuse 3 of b: full");
  answer(1);
  EXPECT_EQ(submit("b", 3), "");
}

TEST_F(Desk, GivesUpWhenPatienceIsOver) {
  submit("a", 6, 500);
  submit("b", 1);
  EXPECT_EQ(due(), 500);
  EXPECT_EQ(pass(499), "");
  EXPECT_EQ(pass(1), "give up 6 of a; ask 1 of b");
}

TEST_F(Desk, RefusesWhatHasWaitedTooLong) {
  submit("a", 1, 5000);
  submit("b", 2);
  EXPECT_EQ(due(), 3000);
  EXPECT_EQ(pass(2999), "");
  EXPECT_EQ(pass(1), "refuse 2 of b: waited too long");
  EXPECT_EQ(desk.waiting(), 0U);
}

TEST_F(Desk, LeavesAnAnswerThatNobodyAskedForToTheMonitors) {
  submit("a", 1);
  EXPECT_EQ(answer(2), "");
  EXPECT_FALSE(asked);
  EXPECT_EQ(answer(1), "answer 1 of a");
}

TEST_F(Desk, WaitsForTheAnswerToAnotherProgram) {
  overhear(1);
  EXPECT_EQ(submit("a", 2), "");
  EXPECT_EQ(due(), 3000);
  EXPECT_EQ(answer(1), "ask 2 of a");
  EXPECT_FALSE(asked);
}

TEST_F(Desk, TakesTurnsWithAnotherProgramThatAsksWithoutAPause) {
  overhear(8);
  EXPECT_EQ(submit("a", 1), "");
  submit("a", 2);
  pass(1);
  overhear(9);  // the next one, before the answer to the last
  EXPECT_EQ(answer(8), "ask 1 of a");
  pass(1);
  EXPECT_EQ(answer(1), "answer 1 of a");  // the turn is the other program's
  pass(1);
  overhear(8);
  EXPECT_EQ(answer(9), "ask 2 of a");
}

TEST_F(Desk, TakesNoTurnWhileTheSameAnswerIsWantedByAnotherProgram) {
  overhear(8);
  EXPECT_EQ(submit("a", 1), "");
  EXPECT_EQ(submit("b", 2), "");
  pass(1);
  overhear(1);
  EXPECT_EQ(answer(8), "ask 2 of b");
  EXPECT_EQ(answer(2), "answer 2 of b");
  EXPECT_EQ(answer(1), "ask 1 of a") << "the answer was the other program's";
  EXPECT_FALSE(asked);
}

TEST_F(Desk, WaitsNoLongerThanTheOtherProgramDoes) {
  overhear(6, 500);
  submit("a", 2);
  EXPECT_EQ(pass(499), "");
  EXPECT_EQ(pass(1), "ask 2 of a");
}

TEST_F(Desk, KnowsAnAnswerThatIsSeenBeforeItsRequest) {
  answer(1);
  overhear(1);
  EXPECT_EQ(submit("a", 2), "ask 2 of a");
}

TEST_F(Desk, TakesAnAnswerFromBeforeTheRequestForNoOther) {
  answer(1);
  pass(1);
  overhear(1);
  EXPECT_EQ(submit("a", 2), "");
}

TEST_F(Desk, MatchesManyAnswersThatAreSeenBeforeTheirRequests) {
  const auto first = now;
  for (int i = 0; i < 100; ++i) answer(1);
  pass(2999);
  for (int i = 0; i < 100; ++i) overhear_of(first, 1);
  EXPECT_EQ(submit("a", 2), "ask 2 of a");
  overhear_of(first, 1);
  EXPECT_EQ(submit("a", 3), "") << "one more request than answers";
}

TEST_F(Desk, TakesAnyAnswerForOneOfARequestWhoseTimeIsNotKnownExactly) {
  const auto earliest = now;
  pass(50);
  answer(1);
  pass(50);
  desk.overheard(1, milliseconds(3000), {earliest, now}, now);
  EXPECT_EQ(submit("a", 2), "ask 2 of a");
}

TEST_F(Desk, WaitsForARequestThatIsSeenLateOnlyAsLongAsItsProgramDoes) {
  const auto published = now;
  pass(400);
  overhear_of(published, 6, 500);
  submit("a", 2);
  EXPECT_EQ(pass(99), "");
  EXPECT_EQ(pass(1), "ask 2 of a");
}

TEST_F(Desk, KeepsLikeRequestsBackWhileALateAnswerMayCome) {
  submit("a", 1);
  EXPECT_EQ(pass(3000), "give up 1 of a");
  EXPECT_EQ(submit("b", 1), "");
  EXPECT_EQ(submit("c", 2), "ask 2 of c");
  EXPECT_EQ(answer(1), "");  // the late one, for nobody
  EXPECT_FALSE(asked);
  EXPECT_EQ(answer(2), "answer 2 of c; ask 1 of b");
  EXPECT_EQ(answer(1), "answer 1 of b");
}

TEST_F(Desk, DoesNotKeepThemBackForLong) {
  submit("a", 1);
  pass(3000);
  submit("b", 1);
  EXPECT_EQ(due(), 1000);
  EXPECT_EQ(pass(1000), "ask 1 of b");
}

TEST_F(Desk, HasNothingDueWhenNothingWaits) {
  EXPECT_EQ(due(), -1);
  overhear(1);
  EXPECT_EQ(due(), -1);
}

}  // namespace
