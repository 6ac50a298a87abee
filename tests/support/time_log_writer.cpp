#include "time_log_writer.h"

#include <ctime>
#include <random>
#include <stdexcept>
#include <utility>

TimeLogWriter::TimeLogWriter(std::string directory, int first_serial)
    : _directory(std::move(directory)), _serial(first_serial) {}

TimeLogWriter::~TimeLogWriter() { close_file(); }

TimeLogWriter& TimeLogWriter::lines(int count) {
  for (int i = 0; i < count; ++i) line(_number);
  return *this;
}

TimeLogWriter& TimeLogWriter::lose(int count) {
  for (int i = 0; i < count; ++i) pass_line();
  return *this;
}

TimeLogWriter& TimeLogWriter::line(int number) {
  const auto seconds = static_cast<time_t>(_clock_us / 1'000'000);
  tm utc{};
  gmtime_r(&seconds, &utc);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%d-%02d-%02d-%02d:%02d:%02d-%06d\r\n", number,
                utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                utc.tm_sec, static_cast<int>(_clock_us % 1'000'000));
  raw(text);
  _number = number;
  pass_line();
  return *this;
}

TimeLogWriter& TimeLogWriter::raw(const std::string& text) {
  if (_file == nullptr) {
    char name[32];
    std::snprintf(name, sizeof name, "/log_time_file_%04d.log", _serial);
    _file = std::fopen((_directory + name).c_str(), "wbe");
    if (_file == nullptr) throw std::runtime_error("no file " + _directory + name);
  }
  std::fwrite(text.data(), 1, text.size(), _file);
  return *this;
}

TimeLogWriter& TimeLogWriter::clock_moves(std::int64_t us) {
  _clock_us += us;
  return *this;
}

TimeLogWriter& TimeLogWriter::next_file(int skipped) {
  raw("");
  close_file();
  _serial += 1 + skipped;
  _number = 1;
  return *this;
}

TimeLogWriter& TimeLogWriter::intervals(std::function<std::int64_t()> interval_us) {
  _interval_us = std::move(interval_us);
  return *this;
}

void TimeLogWriter::pass_line() {
  _clock_us += _interval_us();
  if (_number++ == 9999) next_file();
}

void TimeLogWriter::close_file() {
  if (_file != nullptr) std::fclose(_file);
  _file = nullptr;
}

std::function<std::int64_t()> card_intervals() {
  // Of the engines of the library only the numbers themselves are the same everywhere.
  return [random = std::mt19937(1)]() mutable -> std::int64_t {
    const auto number = static_cast<std::int64_t>(random());
    const bool card_is_busy = number % 50 == 0;
    return 10'060 + number / 50 % 300 + (card_is_busy ? 2'000 + number / 7 % 28'000 : 0);
  };
}
