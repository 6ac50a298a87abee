#include "fault_switches.h"

#include "sim_values.h"

namespace vlm::sim {

namespace {

/// Cuts `ending` off `text`; false when it ends otherwise.
bool cut_ending(std::string& text, const std::string& ending) {
  if (text.size() < ending.size()) return false;
  const auto at = text.size() - ending.size();
  if (text.compare(at, ending.size(), ending) != 0) return false;
  text.erase(at);
  return true;
}

/// One duration, or two with ".." between them.
bool parse_range(const std::string& text, Latency& latency) {
  const auto dots = text.find("..");
  const std::string high = dots == std::string::npos ? text : text.substr(dots + 2);
  return parse_duration(text.substr(0, dots), latency.low_us) &&
         parse_duration(high, latency.high_us) && latency.low_us <= latency.high_us;
}

/// Of all commands, or of the one before "=".
bool set_latency(const std::string& text, FaultPlan& plan) {
  Latency latency{};
  const auto equals = text.find('=');
  if (equals != std::string::npos) {
    u16 code = 0;
    if (!parse_number(text.substr(0, equals), code)) return false;
    if (!parse_range(text.substr(equals + 1), latency)) return false;
    plan.latency_of[code] = latency;
    return true;
  }
  if (!parse_range(text, latency)) return false;
  plan.latency_low_us = latency.low_us;
  plan.latency_high_us = latency.high_us;
  return true;
}

/// A probability, or "next N".
bool set_drop(const std::string& text, FaultPlan& plan) {
  const std::string next = "next ";
  if (text.compare(0, next.size(), next) != 0) return parse_probability(text, plan.drop);
  return parse_number(text.substr(next.size()), plan.drop_next);
}

/// Two numbers with "=" between them, for good or "once"; one number "off".
bool set_fail(const std::string& value, FaultPlan& plan) {
  std::string text = value;
  u16 code = 0;
  u16 error = 0;
  if (cut_ending(text, " off")) {
    if (!parse_number(text, code)) return false;
    plan.fail.erase(code);
    plan.fail_once.erase(code);
    return true;
  }
  const bool once = cut_ending(text, " once");
  const auto equals = text.find('=');
  if (equals == std::string::npos || !parse_number(text.substr(0, equals), code) ||
      !parse_number(text.substr(equals + 1), error)) {
    return false;
  }
  (once ? plan.fail_once : plan.fail)[code] = error;
  return true;
}

/// A number, or one and "off".
bool set_mute(const std::string& value, FaultPlan& plan) {
  std::string text = value;
  const bool off = cut_ending(text, " off");
  u16 code = 0;
  if (!parse_number(text, code)) return false;
  if (off) {
    plan.mute.erase(code);
  } else {
    plan.mute.insert(code);
  }
  return true;
}

}  // namespace

const std::vector<FaultSwitch>& fault_switches() {
  static const std::vector<FaultSwitch> switches{
      {"latency", "TIME[..TIME]", "delay each reply, e.g. 20ms or 20ms..80ms (us, ms, s)",
       set_latency},
      {"drop", "P", "lose a reply with probability P (0 to 1)", set_drop},
      {"duplicate", "P", "send a reply twice with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.duplicate); }},
      {"reorder", "P", "hold a reply back by 50 ms, past later ones, with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.reorder); }},
      {"truncate", "P", "cut a reply with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.truncate); }},
      {"extend", "P", "lengthen a reply with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.extend); }},
      {"corrupt", "P", "flip a bit of a reply with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.corrupt); }},
      {"stray", "P", "send one more reply, that nobody asked for, with probability P",
       [](const std::string& v, FaultPlan& p) { return parse_probability(v, p.stray); }},
      {"fail", "CODE=ERR", "answer command CODE with result ERR; may be repeated", set_fail},
      {"mute", "CODE", "neither carry out nor answer command CODE; may be repeated", set_mute},
      {"restart-every", "N", "restart the camera at every Nth request; 0: never",
       [](const std::string& v, FaultPlan& p) { return parse_number(v, p.restart_every); }},
  };
  return switches;
}

}  // namespace vlm::sim
