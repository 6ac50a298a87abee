// The catalogue against the product: names of commands, what the engine takes from replies, what
// the console tells operators, and what the UDP service carries out.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "camctrl_app.h"
#include "camctrl_contract.h"
#include "camctrl_service.h"
#include "catalogue_value.h"
#include "operation_matrix.h"
#include "pattern.h"
#include "velmar_cmd.h"
#include "vlm_test.h"

namespace {

using namespace vlm::catalogue;

// Names.

constexpr char kNoName[] = "Unknown lcm cmd";

bool has_word(const std::string& name, const std::string& word) {
  return ("_" + name + "_").find("_" + word + "_") != std::string::npos;
}

TEST(CatalogueProduct, ReadsWithGetCommandsAndWritesWithTheOthers) {
  for (const Row& row : rows()) {
    const std::string get = vlm_strcmd(row.codes.get);
    const std::string set = vlm_strcmd(row.codes.set);
    EXPECT_TRUE(get == kNoName || has_word(get, "GET")) << row.name() << ": " << get;
    EXPECT_TRUE(set == kNoName || !has_word(set, "GET")) << row.name() << ": " << set;
  }
}

TEST(CatalogueProduct, PairsCommandsOfOneName) {
  for (const Row& row : rows()) {
    const std::string get = vlm_strcmd(row.codes.get);
    const std::string set = vlm_strcmd(row.codes.set);
    if (get == kNoName || set == kNoName) continue;
    const auto stem = [](const std::string& name, const std::string& verb) {
      const auto place = name.find(verb + "_");
      return place == std::string::npos ? name : name.substr(place + verb.size() + 1);
    };
    EXPECT_EQ(stem(get, "GET"), stem(set, "SET")) << row.name();
  }
}

// Replies.

/// The bytes of a reply that its row covers with values, or with all its bytes.
std::set<int> covered(const Row& row, bool fixed_too) {
  std::set<int> bytes;
  const auto add = [&](const Field& field) {
    for (int i = 0; i < field.width; ++i) bytes.insert(field.offset + row.reply_shift + i);
  };
  if (row.value.type != Type::kGroup) add(row.value);
  for (const Field& field : row.value.fields) {
    if (fixed_too || !field.is(kFixed)) add(field);
  }
  return bytes;
}

/// The bytes of the reply that make a difference to what the operation hands out.
std::set<int> used_bytes(const Operation& operation) {
  EngineOnBus camera;
  const auto results_of = [&](const Bytes& reply) {
    camera.answer(camera_record(operation.code, reply));
    Bytes results;
    EXPECT_TRUE(operation.call(camera.engine, results)) << operation.name;
    return results;
  };
  const Bytes ones(sizeof(udp_ctrl_cam_t::cmd_params), 1);
  const Bytes before = results_of(ones);
  std::set<int> used;
  for (std::size_t i = 0; i < ones.size(); ++i) {
    Bytes changed = ones;
    changed[i] = 3;
    if (results_of(changed) != before) used.insert(static_cast<int>(i));
  }
  return used;
}

// The engine has never stored these replies, though the camera sends them.
const std::set<int> kNotStored = {UDP_CTRL_CAM_GET_COUNTRY_CODE, UDP_CTRL_CAM_GET_CAM_MODE_LOCK,
                                  UDP_CTRL_CAM_MEMORY_SAVE_INQ};

TEST(CatalogueProduct, FindsValuesInRepliesWhereTheEngineDoes) {
  std::vector<Operation> operations = camera_operations();
  const auto& thermal = thermal_operations();
  operations.insert(operations.end(), thermal.begin(), thermal.end());
  int compared = 0;
  for (const Operation& operation : operations) {
    if (operation.results.empty() || kNotStored.count(operation.code) != 0) continue;
    const Row* const row = find_by_code(operation.code);
    ASSERT_NE(row, nullptr) << operation.name;
    const std::set<int> used = quietly([&] { return used_bytes(operation); });
    std::set<int> values = covered(*row, false);
    // The engine hands out 16 of the 32 bits.
    if (operation.code == UDP_CTRL_CAM_GET_FOCUS) values = {0, 1};
    const std::set<int> all = covered(*row, true);
    EXPECT_TRUE(std::includes(used.begin(), used.end(), values.begin(), values.end()))
        << row->name();
    EXPECT_TRUE(std::includes(all.begin(), all.end(), used.begin(), used.end())) << row->name();
    ++compared;
  }
  EXPECT_GT(compared, 60);
}

// The console's list.

std::map<int, std::string> usage_lines() {
  std::istringstream usage(transcript_of([] { print_usage(); }));
  std::map<int, std::string> lines;
  for (std::string line; std::getline(usage, line);) {
    lines.emplace(std::atoi(line.c_str()), line);  // the first of each
  }
  return lines;
}

std::string type_of_number(const Field& field) {
  const bool named = field.type == Type::kBool || field.type == Type::kChoice;
  return named ? "u" + std::to_string(8 * field.width) : text(field.type);
}

/// The types of what is sent, as the list writes them.
std::vector<std::string> types_of(List<Field> fields, bool fixed_too) {
  std::vector<std::string> types;
  for (const Field& field : fields) {
    if (field.is(kFixed) && (!fixed_too || field.type == Type::kBytes)) continue;
    if (field.type == Type::kRatio) {
      types.insert(types.end(), {field.width == 2 ? "s8" : "u16", field.width == 2 ? "u8" : "u16"});
    } else {
      types.push_back(type_of_number(field));
    }
  }
  return types;
}

std::vector<std::string> types_sent(const Row& row, int code) {
  if (row.codes.run == code) return types_of(row.parameters, false);
  const bool group = row.value.type == Type::kGroup;
  const bool masked = code == UDP_CTRL_CAM_SET_STREAM_PROP;
  if (group) return types_of(row.value.fields, masked);
  const Field single[] = {row.value};
  return types_of(single, false);
}

std::vector<std::string> types_listed(const std::string& line) {
  static const std::map<std::string, std::string> kSame = {{"int8_t", "s8"}, {"uint8_t", "u8"}};
  std::vector<std::string> types;
  for (const Match& parameter : matches_in(line, "\\[\\w[^:\\]]*:([a-z0-9_]+)")) {
    const std::string& type = parameter[1];
    types.push_back(kSame.count(type) != 0 ? kSame.at(type) : type);
  }
  return types;
}

TEST(CatalogueProduct, HasTheTypesThatTheConsoleLists) {
  // The folder's number becomes text; of a colour temperature only a byte travels; the interval of
  // a capture is not the console's; 86 and 87 are listed under other names; booleans of the thermal
  // records have a sign.
  const std::set<int> kOwnWay = {35, 51, 58, 86, 87, 114, 116, 136};
  int compared = 0;
  for (const auto& [code, line] : usage_lines()) {
    const Row* const row = find_by_code(code);
    ASSERT_NE(row, nullptr) << line;
    if (row->codes.get == code || kOwnWay.count(code) != 0) continue;
    EXPECT_EQ(types_listed(line), types_sent(*row, code)) << line;
    ++compared;
  }
  EXPECT_GT(compared, 60);
}

/// Without what only spelling makes different.
std::string plain(const std::string& word) {
  static const std::map<std::string, std::string> kSame = {
      {"disable", "off"},
      {"enable", "on"},
      {"notready", "off"},
      {"unlocked", "off"},
      {"locked", "on"},
      {"firstexternal", "external"},
      {"firstinternal", "internal"},
      {"dngt63only", "dng"},
      {"aeb", "bracket"},
      {"horizontal", "horizontalpanorama"},
      {"oneshottrigger", "oneshot"},
      {"270degree", "270"},
  };
  std::string letters;
  for (const char letter : word) {
    const char lower = static_cast<char>(std::tolower(letter));
    if (std::isalnum(lower) != 0 || lower == ':' || lower == '+') letters += lower;
  }
  return kSame.count(letters) != 0 ? kSame.at(letters) : letters;
}

/// Number and word of each "1:video" in the line's parameters.
std::vector<std::pair<s64, std::string>> choices_listed(const std::string& line) {
  std::vector<std::pair<s64, std::string>> choices;
  const auto lists = matches_in(line, "\\[[a-z]+:[a-z0-9]+\\((([0-9]+:[^\\]]*))\\)\\]");
  if (lists.empty()) return choices;
  std::istringstream words(lists[0][1]);
  for (std::string word; std::getline(words, word, ',');) {
    const auto colon = word.find(':');
    if (colon == std::string::npos) continue;
    choices.emplace_back(std::atoi(word.c_str()), plain(word.substr(colon + 1)));
  }
  return choices;
}

const Field* chosen_field(const Row& row, int code) {
  if (row.codes.run == code) return row.parameters.empty() ? nullptr : &row.parameters[0];
  return row.value.type == Type::kGroup ? &row.value.fields[0] : &row.value;
}

bool has_choice(const Field& field, s64 number, const std::string& word) {
  if (field.type == Type::kBool && field.choices.empty()) {
    return word == (number == 0 ? "off" : "on") && number <= 1;
  }
  return std::any_of(field.choices.begin(), field.choices.end(), [&](const Choice& choice) {
    return choice.number == number && plain(choice.name) == word;
  });
}

TEST(CatalogueProduct, HasTheChoicesThatTheConsoleLists) {
  int compared = 0;
  for (const auto& [code, line] : usage_lines()) {
    const Row* const row = find_by_code(code);
    // A range with names for its ends is none.
    if (row == nullptr || line.find('~') != std::string::npos) continue;
    for (const auto& [number, word] : choices_listed(line)) {
      const Field* const field = chosen_field(*row, code);
      ASSERT_NE(field, nullptr) << line;
      EXPECT_TRUE(has_choice(*field, number, word)) << line << ": " << number << " " << word;
      ++compared;
    }
  }
  EXPECT_GT(compared, 80);
}

TEST(CatalogueProduct, HasTheRangesThatTheConsoleLists) {
  // Kelvins, of which the command carries a byte; a name.
  const std::set<int> kOwnWay = {35, 58, 84, 85};
  int compared = 0;
  for (const auto& [code, line] : usage_lines()) {
    const auto ranges = matches_in(line, "\\(([0-9.]+)(?::[a-z ]+)?~([0-9.]+)");
    if (kOwnWay.count(code) != 0 || ranges.empty()) continue;
    const Row* const row = find_by_code(code);
    if (row == nullptr || row->codes.set != code) continue;
    const Field& field = *chosen_field(*row, code);
    EXPECT_TRUE(field.ranged) << line;
    EXPECT_EQ(field.range.min, std::stod(ranges[0][1])) << line;
    EXPECT_EQ(field.range.max, std::stod(ranges[0][2])) << line;
    ++compared;
  }
  EXPECT_EQ(compared, 5);  // spot, digital zoom, zoom, focus and its limit
}

// The UDP service.

TEST(CatalogueProduct, KnowsTheOptionsOfTheUdpService) {
  UdpMasterK720& service = start_camctrl_service();
  const CamctrlApp app(UdpMasterK720Peer::port(service));
  ScriptedBus& bus = ScriptedBus::instance();
  std::set<int> options;
  for (const Row& row : rows()) {
    const std::pair<int, int> commands[] = {{row.remote.get, row.codes.get},
                                            {row.remote.set, row.codes.set},
                                            {row.remote.run, row.codes.run}};
    for (const auto& [option, code] : commands) {
      if (option == kNone) continue;
      options.insert(option);
      bus.reset();
      const Transcript hushed;
      const Bytes reply = app.ask(camctrl_request(option));
      settle(service);
      ASSERT_EQ(reply.at(5), VLM_ERR_NONE) << row.name();
      const auto published = bus.published();
      ASSERT_EQ(published.size(), code == kNone ? 0U : 1U) << row.name();
      if (code == kNone) continue;
      EXPECT_EQ(int{published[0].record().cmd_type}, code) << row.name();
    }
  }
  std::set<int> served{kGetCameraType};
  for (const CamctrlContract& row : camctrl_contract()) served.insert(row.option);
  EXPECT_EQ(options, served);
}

}  // namespace
