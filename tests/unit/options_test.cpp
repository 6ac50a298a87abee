#include "options.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::host;

/// A program that takes one of each kind.
class Options : public testing::Test {
 protected:
  CommandLine line() {
    const auto operand = [this](const std::string& argument) {
      _operands.push_back(argument);
      return argument != "refused";
    };
    return {options(), operand, false};
  }

  std::vector<Option> options() {
    return {{"--loud", nullptr, "make noise", sets(_loud)},
            {"--log", "FILE", "write to FILE", keeps(_file), "-l"},
            {"--help", nullptr, "print this", sets(_help), nullptr, true}};
  }

  /// The text of the fault, empty for none.
  static std::string read(const std::vector<std::string>& arguments, const CommandLine& line) {
    const auto fault = read_arguments(arguments, line);
    return fault ? text_of(*fault) : "";
  }
  std::string read(const std::vector<std::string>& arguments) { return read(arguments, line()); }

  bool _loud = false;
  bool _help = false;
  std::string _file;
  std::vector<std::string> _operands;
};

TEST_F(Options, TakeTheirValuesFromTheNextArgumentOrBehindAnEqualsSign) {
  EXPECT_EQ(read({"--log", "a", "--loud"}), "");
  EXPECT_EQ(_file, "a");
  EXPECT_TRUE(_loud);
  EXPECT_EQ(read({"--log=b=c"}), "");
  EXPECT_EQ(_file, "b=c");
  EXPECT_EQ(read({"--log", "--loud"}), "");
  EXPECT_EQ(_file, "--loud");
}

TEST_F(Options, HaveSecondNames) {
  EXPECT_EQ(read({"-l", "a"}), "");
  EXPECT_EQ(_file, "a");
}

TEST_F(Options, StandAmongOperandsUntilTwoDashes) {
  EXPECT_EQ(read({"a", "--loud", "", "--", "--log", "--"}), "");
  EXPECT_TRUE(_loud);
  EXPECT_EQ(_operands, (std::vector<std::string>{"a", "", "--log", "--"}));
}

TEST_F(Options, ThatAreTheLastHideWhatFollows) {
  EXPECT_EQ(read({"--help", "--nonsense"}), "");
  EXPECT_TRUE(_help);
  EXPECT_EQ(read({"--nonsense", "--help"}), "unknown option --nonsense");
}

TEST_F(Options, SayWhatIsWrong) {
  EXPECT_EQ(read({"--quiet"}), "unknown option --quiet");
  EXPECT_EQ(read({"--quiet=1"}), "unknown option --quiet");
  EXPECT_EQ(read({"-x"}), "unknown option -x");
  EXPECT_EQ(read({"-"}), "unknown option -");
  EXPECT_EQ(read({"--loud=yes"}), "--loud takes no value");
  EXPECT_EQ(read({"--log"}), "--log needs a value");
  EXPECT_EQ(read({"-l"}), "-l needs a value");
  EXPECT_EQ(read({"--log="}), "bad value for --log: ");
  EXPECT_EQ(read({"refused"}), "unexpected argument refused");
}

TEST_F(Options, StopAtTheFirstFault) {
  EXPECT_EQ(read({"--log", "a", "--quiet", "--loud"}), "unknown option --quiet");
  EXPECT_EQ(_file, "a");
  EXPECT_FALSE(_loud);
}

TEST_F(Options, FaultsTellAllThatAProgramNeedsForWordsOfItsOwn) {
  const auto fault = read_arguments({"--log="}, line());
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->kind, OptionFault::kBadValue);
  EXPECT_EQ(fault->argument, "--log=");
  EXPECT_EQ(fault->name, "--log");
  EXPECT_EQ(fault->value, "");
  EXPECT_STREQ(fault->wanted, "FILE");
}

TEST_F(Options, AloneRefuseOperandsAndTwoDashes) {
  const CommandLine without_operands{options(), nullptr, false};
  EXPECT_EQ(read({"a"}, without_operands), "unexpected argument a");
  EXPECT_EQ(read({"--"}, without_operands), "unknown option --");
}

TEST_F(Options, MayBeCutShortWhereTheProgramAllowsIt) {
  EXPECT_EQ(read({"--he"}), "unknown option --he");
  CommandLine abbreviating = line();
  abbreviating.abbreviations = true;
  EXPECT_EQ(read({"--log", "a", "--lou", "--h"}, abbreviating), "");
  EXPECT_TRUE(_loud);
  EXPECT_TRUE(_help);
  EXPECT_EQ(read({"--lo"}, abbreviating), "unknown option --lo");  // both begin like that
  EXPECT_EQ(read({"-h"}, abbreviating), "unknown option -h");
}

TEST_F(Options, AreListedInTheirOrder) {
  EXPECT_EQ(options_help(options(), 14),
            "  --loud          make noise\n"
            "  -l, --log FILE  write to FILE\n"
            "  --help          print this\n");
  EXPECT_EQ(options_help(options(), 6),
            "  --loud  make noise\n"
            "  -l, --log FILE  write to FILE\n"
            "  --help  print this\n");
}

TEST_F(Options, AreWhatStandsBehindTheProgramsName) {
  const char* const argv[] = {"program", "a", "b"};
  EXPECT_EQ(arguments_of(3, argv), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(arguments_of(1, argv).empty());
  EXPECT_TRUE(arguments_of(0, argv).empty());
}

}  // namespace
