#include "broker_files.h"

#include <cstdlib>

namespace vlm::bus {

namespace {

struct FileName {
  const char* variable;
  const char* option;
  const char* help;
  std::string BrokerFiles::*member;
};

constexpr FileName kNames[] = {
    {"VLM_MQTT_CA_FILE", "--mqtt-ca-file", "certificates of the authorities to trust",
     &BrokerFiles::ca},
    {"VLM_MQTT_CERT_FILE", "--mqtt-cert-file", "this user's certificate",
     &BrokerFiles::certificate},
    {"VLM_MQTT_KEY_FILE", "--mqtt-key-file", "the key of the certificate", &BrokerFiles::key},
    {"VLM_MQTT_PASSWORD_FILE", "--mqtt-password-file", "the password of the address' user",
     &BrokerFiles::password},
};

}  // namespace

BrokerFiles broker_files_of_environment() {
  BrokerFiles files;
  for (const FileName& name : kNames) {
    if (const char* path = std::getenv(name.variable)) files.*name.member = path;
  }
  return files;
}

std::vector<host::Option> broker_file_options() {
  std::vector<host::Option> options;
  for (const FileName& name : kNames) {
    options.push_back({name.option, "FILE", name.help, [&name](const std::string& path) {
                         return !path.empty() && setenv(name.variable, path.c_str(), 1) == 0;
                       }});
  }
  return options;
}

}  // namespace vlm::bus
