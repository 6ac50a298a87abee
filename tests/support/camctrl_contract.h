// What is fixed of the UDP camera-control protocol, one row a command: what the service makes of each
// option, and what its test client makes of each word. Apps and scripts rely on these values, so they
// are written out here, independent of the product's own tables, which the tests of both check
// against these.
#ifndef CAMCTRL_CONTRACT_H
#define CAMCTRL_CONTRACT_H

#include <iosfwd>
#include <string>
#include <vector>

#include "camctrl_app.h"

/// A command that the service hands on to the camera.
struct CamctrlContract {
  enum Kind { kSet, kGet };

  const char* name;
  int option;
  Bytes data;  // of the request
  int code;    // of the camera's command
  Bytes params;
  Kind kind;
  Bytes answer;  // the camera's, on success
  Bytes reply;   // data of the service's, on success
  std::vector<std::string> log;
};

/// Names the row in what tests print.
void PrintTo(const CamctrlContract& row, std::ostream* out);

/// All of them, and the one option that the service answers by itself.
const std::vector<CamctrlContract>& camctrl_contract();
constexpr int kGetCameraType = 4096;

// The test client's words.

using Words = std::vector<std::string>;

/// The request that words make: the option and its data.
struct ClientRequest {
  Words words;
  int option;
  Bytes data;
};

/// What is printed of the data that a request's reply brings.
struct ClientAnswer {
  Words words;
  int option;
  Bytes data;
  std::string decoded;
};

/// The list of all words, as it is printed.
const std::string& client_usage();
/// Each word with each of its choices.
const std::vector<ClientRequest>& client_requests();
const std::vector<ClientAnswer>& client_answers();

#endif  // CAMCTRL_CONTRACT_H
