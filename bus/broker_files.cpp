#include "broker_files.h"

#include <cstdlib>

namespace vlm::bus {

BrokerFiles broker_files_of_environment() {
  BrokerFiles files;
  for (const BrokerFileName& name : kBrokerFileNames) {
    if (const char* path = std::getenv(name.variable)) files.*name.member = path;
  }
  return files;
}

void add_broker_file_options(std::vector<host::Option>& options) {
  for (const BrokerFileName& name : kBrokerFileNames) {
    options.push_back({name.option, "FILE", name.help, [&name](const std::string& path) {
                         return !path.empty() && setenv(name.variable, path.c_str(), 1) == 0;
                       }});
  }
}

}  // namespace vlm::bus
