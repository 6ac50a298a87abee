// The files by which a program shows a broker who it is. Secrets stand in files alone: the command
// line and the environment of a process are no secret.
#ifndef BROKER_FILES_H
#define BROKER_FILES_H

#include <string>
#include <vector>

#include "options.h"

namespace vlm::bus {

/// Paths; empty: not given.
struct BrokerFiles {
  std::string ca;           // certificates of the authorities to trust; else those of the system
  std::string certificate;  // of this program's user
  std::string key;          // of the certificate
  std::string password;     // of the address' user: its first line
};

/// Those that VLM_MQTT_CA_FILE, VLM_MQTT_CERT_FILE, VLM_MQTT_KEY_FILE and VLM_MQTT_PASSWORD_FILE name.
BrokerFiles broker_files_of_environment();

/// Options of the same names, --mqtt-ca-file and so on, which set these variables.
std::vector<host::Option> broker_file_options();

}  // namespace vlm::bus

#endif  // BROKER_FILES_H
