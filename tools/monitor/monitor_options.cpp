#include "monitor_options.h"

#include <charconv>
#include <cstdint>

#include "options.h"
#include "recording_input.h"

namespace vlm::monitor {

namespace {

/// "64M": a number, and K, M or G for 1024 and its powers.
bool parse_size(const std::string& text, std::uint64_t& size) {
  const char* const end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, size);
  if (fault != std::errc{} || size == 0 || size > (std::uint64_t{1} << 30)) return false;
  const std::string unit(rest, end);
  if (unit == "K") size <<= 10;
  if (unit == "M") size <<= 20;
  if (unit == "G") size <<= 30;
  return unit.empty() || unit == "K" || unit == "M" || unit == "G";
}

bool parse_keep(const std::string& text, unsigned& keep) {
  constexpr unsigned kMost = 1000;
  const char* const end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, keep);
  return fault == std::errc{} && rest == end && keep >= 1 && keep <= kMost;
}

std::vector<host::Option> table(MonitorOptions& o) {
  using V = std::string;
  return {
      {"--channel", "NAME", "show this channel and notes alone; may be given again",
       [&o](const V& v) {
         o.channels.push_back(v);
         return !v.empty();
       }},
      {"--filter", "TERMS", "show what all terms hold for: 'code=SET_ZOOM err!=0'",
       [&o](const V& v) { return o.filter.add(v, o.filter_error); }},
      {"--json", nullptr, "one JSON object a line", host::sets(o.json)},
      {"--hex", nullptr, "the bytes of each packet as well", host::sets(o.hex)},
      {"--stats", nullptr, "rates and latencies by command, in place of the packets",
       host::sets(o.stats)},
      {"--quiet", nullptr, "show no packets", host::sets(o.quiet), "-q"},
      {"--write", "FILE", "record to FILE, which wireshark reads; everything, shown or not",
       host::keeps(o.write_file), "-w"},
      {"--rotate", "SIZE", "begin a new file after SIZE bytes: 500K, 64M, 1G",
       [&o](const V& v) { return o.rotates = parse_size(v, o.rotation.size); }},
      {"--keep", "N", "how many files --rotate keeps, FILE.1 the last but one (10)",
       [&o](const V& v) { return o.keeps = parse_keep(v, o.rotation.keep); }},
      {"--redact", nullptr, "blank Wi-Fi passwords, in recordings and lines", host::sets(o.redact)},
      {"--read", "FILE", "read the recording FILE instead of the bus", host::keeps(o.read_file),
       "-r"},
      {"--svg", "FILE", "with -r: draw round trips over time to FILE", host::keeps(o.svg_file)},
      {"--csv", "FILE", "with -r: write round trips as a table to FILE", host::keeps(o.csv_file)},
      {"--help", nullptr, "print this help and end", host::sets(o.help)},
      {"--version", nullptr, "print the version and end", host::sets(o.version)},
  };
}

bool overwrites_what_it_reads(const MonitorOptions& options) {
  for (const std::string& file : {options.write_file, options.svg_file, options.csv_file}) {
    if (!file.empty() && is_same_file(file, options.read_file)) return true;
  }
  return false;
}

bool check(const MonitorOptions& options, std::string& error) {
  const bool draws = !options.svg_file.empty() || !options.csv_file.empty();
  if (options.help || options.version) return true;
  if (options.rotates && options.write_file.empty()) error = "--rotate needs -w";
  if (options.keeps && !options.rotates) error = "--keep needs --rotate";
  if (draws && options.read_file.empty()) error = "--svg and --csv need -r";
  if (!options.read_file.empty() && overwrites_what_it_reads(options)) {
    error = "the file that is read cannot be written";
  }
  return error.empty();
}

}  // namespace

bool parse_monitor_options(const std::vector<std::string>& arguments, MonitorOptions& options,
                           std::string& error) {
  if (const auto fault = host::read_arguments(arguments, {table(options), nullptr})) {
    error = options.filter_error.empty() ? host::text_of(*fault) : options.filter_error;
    return false;
  }
  return check(options, error);
}

std::string monitor_help() {
  MonitorOptions unused;
  return "usage: vlm_bus_monitor [OPTIONS]\n"
         "Shows every packet of the message bus, a line each, until it is told to end by a "
         "signal.\n"
         "\n" +
         host::options_help(table(unused), 16) +
         "\n"
         "Marks: [no answer] a request without an answer in time, [unasked] an answer that nobody\n"
         "asked for, [crossed] a request while another one waits, [dropped N] packets that the\n"
         "monitor itself has lost.\n"
         "Terms of --filter: code, err, rtt (ms), number, since (s), kind, channel, name, mark\n"
         "(no_answer ...), each with = or !=, numbers with <, <=, > and >= too.\n"
         "\n"
         "Exit status: 0 ended by a signal or at the file's end, 1 something cannot be read or\n"
         "written, 2 wrong usage, 3 the file is cut off or damaged (what was whole has been "
         "shown),\n"
         "4 no bus.\n";
}

}  // namespace vlm::monitor
