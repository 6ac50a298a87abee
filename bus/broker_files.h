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

/// What one of them is called.
struct BrokerFileName {
  const char* variable;
  const char* option;
  const char* help;
  std::string BrokerFiles::*member;
};

constexpr BrokerFileName kBrokerFileNames[] = {
    {"VLM_MQTT_CA_FILE", "--mqtt-ca-file", "certificates of the authorities to trust",
     &BrokerFiles::ca},
    {"VLM_MQTT_CERT_FILE", "--mqtt-cert-file", "this user's certificate",
     &BrokerFiles::certificate},
    {"VLM_MQTT_KEY_FILE", "--mqtt-key-file", "the key of the certificate", &BrokerFiles::key},
    {"VLM_MQTT_PASSWORD_FILE", "--mqtt-password-file", "the password of the address' user",
     &BrokerFiles::password},
};

/// Those that VLM_MQTT_CA_FILE, VLM_MQTT_CERT_FILE, VLM_MQTT_KEY_FILE and VLM_MQTT_PASSWORD_FILE name.
BrokerFiles broker_files_of_environment();

/// Adds options of the same names, --mqtt-ca-file and so on, which set these variables.
void add_broker_file_options(std::vector<host::Option>& options);

}  // namespace vlm::bus

#endif  // BROKER_FILES_H
