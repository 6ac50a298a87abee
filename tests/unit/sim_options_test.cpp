#include "sim_options.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::sim;

using Arguments = std::vector<std::string>;

SimOptions parsed(const Arguments& arguments) {
  SimOptions options;
  EXPECT_EQ(parse_options(arguments, options), "");
  return options;
}

std::string fault_of(const Arguments& arguments) {
  SimOptions options;
  return parse_options(arguments, options);
}

TEST(Options, AreAllOffWithoutArguments) {
  const SimOptions options = parsed({});
  EXPECT_FALSE(options.thermal || options.live || options.force || options.verbose ||
               options.help || options.version);
  EXPECT_FALSE(options.seed);
  EXPECT_EQ(options.card_kib, 62U * 1024 * 1024);
  EXPECT_EQ(options.media, "");
  EXPECT_EQ(options.faults.latency_high_us, 0U);
  EXPECT_EQ(options.faults.drop + options.faults.duplicate + options.faults.reorder, 0);
  EXPECT_TRUE(options.faults.fail.empty() && options.faults.mute.empty());
}

TEST(Options, AreReadTogether) {
  const SimOptions options =
      parsed({"--thermal", "--force", "--verbose", "--latency", "20ms..80ms", "--drop", "0.25",
              "--duplicate", "1", "--reorder", ".5", "--seed", "18446744073709551615"});
  EXPECT_TRUE(options.thermal);
  EXPECT_TRUE(options.force);
  EXPECT_TRUE(options.verbose);
  EXPECT_EQ(options.faults.latency_low_us, 20000U);
  EXPECT_EQ(options.faults.latency_high_us, 80000U);
  EXPECT_EQ(options.faults.drop, 0.25);
  EXPECT_EQ(options.faults.duplicate, 1);
  EXPECT_EQ(options.faults.reorder, 0.5);
  EXPECT_EQ(options.seed, 18446744073709551615U);
}

TEST(Options, GiveTheCameraLifeACardAndAFolder) {
  const SimOptions options = parsed({"--live", "--card", "64M", "--media", "pictures"});
  EXPECT_TRUE(options.live);
  EXPECT_EQ(options.card_kib, 65536U);
  EXPECT_EQ(options.media, "pictures");
  EXPECT_EQ(parsed({"--card", "1K"}).card_kib, 1U);
  EXPECT_EQ(parsed({"--card", "4095G"}).card_kib, 4095U * 1024 * 1024);
}

TEST(Options, HelpAndVersionAreSwitches) {
  EXPECT_TRUE(parsed({"--help"}).help);
  EXPECT_TRUE(parsed({"--version"}).version);
}

TEST(Options, TakeTheirValueAfterAnEqualsSignToo) {
  const SimOptions options = parsed({"--seed=7", "--fail=3=9"});
  EXPECT_EQ(options.seed, 7U);
  EXPECT_EQ(options.faults.fail.at(3), 9);
}

TEST(Options, FailAndMuteMayBeRepeated) {
  const SimOptions options = parsed(
      {"--fail", "3=9", "--fail", "4=65535", "--fail", "3=10", "--mute", "6", "--mute", "65535"});
  EXPECT_EQ(options.faults.fail, (std::map<u16, u16>{{3, 10}, {4, 65535}}));
  EXPECT_EQ(options.faults.mute, (std::set<u16>{6, 65535}));
}

TEST(Options, LatencyHasAUnitAndMayBeARange) {
  const std::pair<const char*, u64> kTimes[] = {
      {"0us", 0}, {"500us", 500}, {"20ms", 20000}, {"2s", 2000000}, {"3600s", 3600000000}};
  for (const auto& [text, us] : kTimes) {
    const SimOptions options = parsed({"--latency", text});
    EXPECT_EQ(options.faults.latency_low_us, us);
    EXPECT_EQ(options.faults.latency_high_us, us);
  }
  const SimOptions range = parsed({"--latency", "500us..1s"});
  EXPECT_EQ(range.faults.latency_low_us, 500U);
  EXPECT_EQ(range.faults.latency_high_us, 1000000U);
}

TEST(Options, RefuseValuesThatAreNone) {
  const Arguments kFaults[] = {{"--latency", ""},
                               {"--latency", "20"},
                               {"--card", ""},
                               {"--card", "0M"},
                               {"--card", "64"},
                               {"--card", "64MB"},
                               {"--card", "4096G"},
                               {"--card", "-1M"},
                               {"--media", ""},
                               {"--latency", "ms"},
                               {"--latency", "20min"},
                               {"--latency", "-1ms"},
                               {"--latency", "80ms..20ms"},
                               {"--latency", "20ms.."},
                               {"--latency", "..20ms"},
                               {"--latency", "3601s"},
                               {"--latency", "99999999999999999999s"},
                               {"--drop", ""},
                               {"--drop", "1.1"},
                               {"--drop", "-0.1"},
                               {"--drop", "nan"},
                               {"--drop", "0.5x"},
                               {"--drop", "1e-1"},
                               {"--drop", "."},
                               {"--duplicate", "2"},
                               {"--reorder", "x"},
                               {"--fail", "3"},
                               {"--fail", "=3"},
                               {"--fail", "3="},
                               {"--fail", "65536=1"},
                               {"--fail", "3=65536"},
                               {"--fail", "a=b"},
                               {"--mute", ""},
                               {"--mute", "65536"},
                               {"--mute", "-1"},
                               {"--seed", "-1"},
                               {"--seed", "18446744073709551616"},
                               {"--seed", "1 "}};
  for (const Arguments& arguments : kFaults) {
    const std::string fault = fault_of(arguments);
    EXPECT_EQ(fault.find(arguments[0] + " needs "), 0U) << arguments[1];
    EXPECT_NE(fault.find(", not \"" + arguments[1] + "\""), std::string::npos) << fault;
  }
}

TEST(Options, SayWhatTheyNeed) {
  EXPECT_EQ(fault_of({"--drop", "two"}), "--drop needs P, not \"two\"");
  EXPECT_EQ(fault_of({"--latency"}), "--latency needs TIME[..TIME]");
  EXPECT_EQ(fault_of({"--thermal=yes"}), "--thermal takes no value");
  EXPECT_EQ(fault_of({"--quiet"}), "unknown option --quiet");
  EXPECT_EQ(fault_of({"fast"}), "unknown option fast");
  EXPECT_EQ(fault_of({""}), "unknown option ");
}

TEST(Options, HelpNamesEachOfThem) {
  const std::string help = options_help();
  for (const char* usage : {"--thermal ",
                            "--live ",
                            "--card SIZE ",
                            "--media DIR ",
                            "--latency TIME[..TIME] ",
                            "--drop P ",
                            "--duplicate P ",
                            "--reorder P ",
                            "--truncate P ",
                            "--extend P ",
                            "--corrupt P ",
                            "--stray P ",
                            "--restart-every N ",
                            "--fleet N ",
                            "--camera-prefix NAME ",
                            "--mqtt-ca-file FILE ",
                            "--mqtt-cert-file FILE ",
                            "--mqtt-key-file FILE ",
                            "--mqtt-password-file FILE ",
                            "--script FILE ",
                            "--fail CODE=ERR ",
                            "--mute CODE ",
                            "--seed N ",
                            "--force ",
                            "--verbose ",
                            "--help ",
                            "--version "}) {
    EXPECT_NE(help.find(std::string("\n  ") + usage), std::string::npos) << usage;
  }
}

TEST(Options, FaultsByNameAreOptionsToo) {
  const SimOptions options =
      parsed({"--stray", "0.1", "--truncate", "0.2", "--extend", "0.3", "--corrupt", "0.4",
              "--restart-every", "50", "--latency", "3=500ms", "--script", "scenario"});
  EXPECT_EQ(options.faults.stray, 0.1);
  EXPECT_EQ(options.faults.truncate, 0.2);
  EXPECT_EQ(options.faults.extend, 0.3);
  EXPECT_EQ(options.faults.corrupt, 0.4);
  EXPECT_EQ(options.faults.restart_every, 50U);
  EXPECT_EQ(options.faults.latency_of.at(3).low_us, 500000U);
  EXPECT_EQ(options.faults.latency_high_us, 0U);
  EXPECT_EQ(options.script, "scenario");
}

TEST(Options, AFleetIsManyCamerasWithNumberedNames) {
  const SimOptions options = parsed({"--fleet", "40", "--camera-prefix", "lab-", "--drop", "0.1"});
  EXPECT_EQ(options.fleet, 40U);
  EXPECT_EQ(options.prefix, "lab-");
  EXPECT_EQ(parsed({"--fleet", "1"}).prefix, "cam-");
  EXPECT_EQ(fault_of({"--fleet", "0"}), "--fleet needs N, not \"0\"");
  EXPECT_EQ(fault_of({"--fleet", "10001"}), "--fleet needs N, not \"10001\"");
  EXPECT_EQ(fault_of({"--camera-prefix", "a/b"}), "--camera-prefix needs NAME, not \"a/b\"");
  EXPECT_EQ(fault_of({"--fleet", "2", "--script", "x"}),
            "--script, --media and --force are for one camera");
}

}  // namespace
