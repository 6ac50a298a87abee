// What a camera request costs beside the same exchange by other message systems, on one core:
//
//   peers_bare      B of bare.h
//   peers_request   the caller runs a camera operation, with standard output to /dev/null
//   others          each that was there at the build, as its source says
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bare.h"
#include "contender.h"
#include "contest.h"
#include "peers.h"
#include "vlm_test_listener.h"

namespace {

using namespace vlm::bench;

/// Each a system whose packages were there.
std::vector<Contender*> peers([[maybe_unused]] const std::string& directory) {
  return {
#ifdef VLM_PEER_CYCLONE_DDS
      cyclone_dds_peer(directory), cyclone_dds_waitset_peer(directory),
#endif
#ifdef VLM_PEER_MQTT
      mqtt_peer(directory),
#endif
#ifdef VLM_PEER_SD_BUS
      sd_bus_peer(directory),
#endif
#ifdef VLM_PEER_ZEROMQ
      zeromq_peer(directory),
#endif
  };
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  const std::string directory = bus_directory.path() + "/peers";
  std::filesystem::create_directory(directory);
  // Never destroyed: their threads run to the end.
  static auto& entrants = *new std::vector<Entrant>{
      {new BareContender("peers_bare")},
      {new CameraRequest("peers_request", collecting(std::fopen("/dev/null", "w")))},
  };
  for (Contender* const peer : peers(directory)) entrants.push_back({peer});
  start_simulated_camera();
  udp_start_receiving_messages();
  await_subscriber(kRequestChannel);
  await_subscriber(kReplyChannel);
  print_rows(stdout, round_trips(entrants, rounds));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"peer_bench", "Measures camera requests and the same exchange by other message systems.",
       "round trips of each kind, 1 to 10000000 (default 20000)", 20000},
      run);
}
