// What is fixed of each camera command, one row a code: its number, its name, what its reply stores,
// what the console makes of it, and what the camera takes and refuses. Users' scripts and the camera
// rely on these values, so they are written out here, independent of the product's own tables, which
// every test of them checks against this one.
#ifndef COMMAND_CONTRACT_H
#define COMMAND_CONTRACT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"

/// Bytes of a reply's payload that go to bytes of the result store.
struct StoredBytes {
  const char* field;
  std::size_t offset;  // in LcmRequest::Data
  std::size_t size;
  std::size_t first;  // byte of the payload
  std::size_t last;
};

/// A field of the result store, LcmRequest::Data.
struct ResultField {
  const char* name;
  std::size_t offset;
  std::size_t size;
  std::size_t alignment;
  bool has_its_type;
};

/// What a successful reply does to the result store.
struct ReplyContract {
  enum Kind { kStores, kComputes, kStoresNothing, kUnknown };

  Kind kind;
  std::vector<StoredBytes> stored{};
};

/// What the console makes of a number.
struct ConsoleContract {
  enum Kind {
    kAbsent,
    kListed,  // in the list of commands, but refused
    kRuns,    // with parameters of its own kind: a row in console_commands.cpp
    kShows,   // an operation without parameters
    kSets,    // an operation with one numeric parameter
  };

  ConsoleContract& unlisted();
  ConsoleContract& goes_on_with(udp_ctrl_cam_cmds code);

  Kind kind;
  bool listed = true;
  std::string conversion{};
  const char* operation = "";
  std::string before{};  // the call
  std::string done{};    // after a success
  std::string failed{};  // after a failure, of whose code it may hold conversions
  int next = -1;
};

/// What the camera does with a command that sets one number.
struct SettingContract {
  int get_code;              // reads the number; the command itself where no other does
  std::size_t width;         // in bytes
  std::optional<u32> start;  // what it begins with; none: cannot be read before it is set
  std::vector<u32> allowed;  // some of what the operator is told, its ends among them
  std::vector<u32> refused;
  int refusal;  // the result then
};

enum Sender { kSent, kNeverSent };

struct CommandContract {
  int code;
  udp_ctrl_cam_cmds enumerator;
  const char* name;
  ReplyContract reply;
  ConsoleContract console;
  std::optional<SettingContract> setting{};
  Sender sender = kSent;  // whether an operation of the engine sends it
};

/// The text of every code without a name.
constexpr const char* kNoName = "Unknown lcm cmd";

/// All codes of the vocabulary, ascending.
const std::vector<CommandContract>& command_contract();

/// All fields of the result store, in their order.
const std::vector<ResultField>& result_fields();

/// The row of `code`, null for an undefined one.
const CommandContract* find_contract(int code);

/// True for a number that the console runs.
bool console_runs(int number);

#endif  // COMMAND_CONTRACT_H
