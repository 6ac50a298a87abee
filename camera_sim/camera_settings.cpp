// Each row of the catalogue that can be set has its bytes here. A request is laid over them, the
// whole that results is held against the row and the rules, and then kept or refused.
#include "camera_settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "catalogue_choices.h"

namespace vlm::sim {

using catalogue::Field;
using catalogue::Row;
using catalogue::Type;

namespace {

// What is peculiar to this camera.

/// Kept by the lens and by the capture; the clock shows in no answer.
constexpr int kKeptElsewhere[] = {
    UDP_CTRL_CAM_SET_CAMERA_MODE, UDP_CTRL_CAM_SET_SYS_TIME,     UDP_CTRL_CAM_SET_DIGITAL_ZOOM,
    UDP_CTRL_CAM_SET_FOCUS,       UDP_CTRL_CAM_SET_FOCUS_LIMITE, UDP_CTRL_CAM_SET_ZOOM,
};

/// Longer names and passwords than their fields are cut, as their senders do too.
constexpr int kCutTexts[] = {UDP_CTRL_CAM_SET_WIFI_SSID, UDP_CTRL_CAM_SET_WIFI_PASSWORD};

/// One number under two names: what is written as the first is read as the second, too.
struct Synonym {
  const char* written;
  const char* other;
};
constexpr Synonym kSynonyms[] = {
    {"exposure.iso", "exposure.iso_code"},
    {"exposure.iso_code", "exposure.iso"},
    {"stream.second_bitrate", "stream.1.bitrate"},
    {"stream.second_size.width", "stream.1.width"},
    {"stream.second_size.height", "stream.1.height"},
};

template <std::size_t kSize>
bool contains(const int (&codes)[kSize], int code) {
  return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

// Rules between values.

vlm_err_t valid_if(bool valid) { return valid ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_PARAM; }

/// Two formats are known not to work: fast ultra-high definition in H.265, 100 frames in PAL. A
/// format and the two modes that restrict it are checked whichever is set last.
vlm_err_t check_video(const udp_ctrl_video_t& video, u32 encoding, u32 standard) {
  constexpr u32 kH265 = catalogue::number_of<u32>(catalogue::kVideoEncodings, "h265");
  constexpr u32 kPal = catalogue::number_of<u32>(catalogue::kVideoStandards, "pal");
  if (encoding == kH265 && video.res.w >= 3840 && video.fps >= 48) return VLM_ERR_VIDEO_FMT_IN_H265;
  return standard == kPal && video.fps == 100 ? VLM_ERR_100FPS_PAL : VLM_ERR_NONE;
}

vlm_err_t check_encoding(const CameraSettings& settings, const u8* wanted) {
  return check_video(settings.record<udp_ctrl_video_t>(UDP_CTRL_CAM_SET_PARAMS_VIDEO), wanted[0],
                     settings[UDP_CTRL_CAM_SET_SYSTEM_MODE]);
}

vlm_err_t check_standard(const CameraSettings& settings, const u8* wanted) {
  return check_video(settings.record<udp_ctrl_video_t>(UDP_CTRL_CAM_SET_PARAMS_VIDEO),
                     settings[UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE], wanted[0]);
}

vlm_err_t check_format(const CameraSettings& settings, const u8* wanted) {
  return check_video(load<udp_ctrl_video_t>(wanted), settings[UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE],
                     settings[UDP_CTRL_CAM_SET_SYSTEM_MODE]);
}

/// The prefix that names the folder, 101 to 999; a folder that is switched off needs none.
vlm_err_t check_folder(const CameraSettings&, const u8* wanted) {
  const auto folder = load<udp_ctrl_cam_media_folder_t>(wanted);
  if (folder.enable_flag == 0) return VLM_ERR_NONE;
  const std::string name = load_text(wanted + 1, sizeof folder.folder);
  const bool digits = name.size() == 3 && name.find_first_not_of("0123456789") == std::string::npos;
  return digits && std::atoi(name.c_str()) >= 101 ? VLM_ERR_NONE : VLM_ERR_WRONG_DIRNAME;
}

/// Pictures of a burst; of a bracket, as many above the measured exposure as below it.
vlm_err_t check_photo(const CameraSettings&, const u8* wanted) {
  const auto mode = load<udp_ctrl_cam_photo_mode_t>(wanted);
  const int amount = mode.photo_amount;
  switch (mode.capture_mode) {
    case VLM_CAPTURE_BURST:
      return amount >= 1 && amount <= 100 ? VLM_ERR_NONE : VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER;
    case VLM_CAPTURE_AEB:
      if (amount < 3 || amount > 9 || amount % 2 == 0) return VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER;
      return mode.ev_step.ev_dem != 0 ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_DEN;
    default: return VLM_ERR_NONE;
  }
}

vlm_err_t check_temperature_bar(const CameraSettings&, const u8* wanted) {
  const auto bar = load<udp_ctrl_cam_temp_bar_range_t>(wanted);
  return valid_if(bar.min_temp <= bar.max_temp);
}

vlm_err_t check_rectangle(const vlm_radiometric_area_coordinate_t& area) {
  return valid_if(area.start_x <= area.end_x && area.start_y <= area.end_y);
}

vlm_err_t check_area(const CameraSettings&, const u8* wanted) {
  return check_rectangle(load<vlm_radiometric_area_settings_t>(wanted).area);
}

vlm_err_t check_roi(const CameraSettings&, const u8* wanted) {
  return check_rectangle(load<vlm_radiometric_area_coordinate_t>(wanted));
}

struct Rule {
  int code;  // of the set command
  vlm_err_t (*check)(const CameraSettings& settings, const u8* wanted);
};

constexpr Rule kRules[] = {
    {UDP_CTRL_CAM_SET_PARAMS_VIDEO, check_format},
    {UDP_CTRL_CAM_SET_MEDIA_FOLDER, check_folder},
    {UDP_CTRL_CAM_SET_SYSTEM_MODE, check_standard},
    {UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, check_encoding},
    {UDP_CTRL_CAM_SET_PHOTO_MODE, check_photo},
    {UDP_CTRL_CAM_SET_TEMPERATURE_BAR, check_temperature_bar},
    {UDP_CTRL_CAM_SET_RADIOMETRIC_AREA, check_area},
    {UDP_CTRL_CAM_SET_ROI, check_roi},
};

// What is kept, and where.

/// A number under two names, as bytes.
struct Link {
  const Row* written;
  std::size_t from;
  std::size_t to;
  std::size_t width;
};

struct Layout {
  std::vector<KeptRow> rows;  // ascending by code
  std::vector<Link> links;
  std::size_t size = 0;
};

int command_of(const Row& row) { return row.writable() ? row.codes.set : row.codes.get; }

bool is_kept(const Row& row) {
  return command_of(row) != catalogue::kNone && !contains(kKeptElsewhere, command_of(row));
}

std::size_t place_of(const Layout& layout, const catalogue::Item& item) {
  for (const KeptRow& kept : layout.rows) {
    if (kept.row == item.row) return kept.place + item.field->offset;
  }
  throw std::invalid_argument("no setting");
}

Layout lay_out() {
  Layout layout;
  for (const Row& row : catalogue::rows()) {
    if (is_kept(row)) layout.rows.push_back({&row, 0});
  }
  std::stable_sort(layout.rows.begin(), layout.rows.end(), [](const auto& one, const auto& other) {
    return command_of(*one.row) < command_of(*other.row);
  });
  for (KeptRow& kept : layout.rows) {
    kept.place = layout.size;
    layout.size += kept.row->value.width;
  }
  for (const Synonym& synonym : kSynonyms) {
    const auto from = catalogue::find(synonym.written).value();
    const auto to = catalogue::find(synonym.other).value();
    const std::size_t width = std::min(from.field->width, to.field->width);
    layout.links.push_back({from.row, place_of(layout, from), place_of(layout, to), width});
  }
  return layout;
}

/// Never destroyed: at the end of the program, other threads may still serve.
const Layout& layout() {
  static const Layout& the_layout = *new Layout(lay_out());
  return the_layout;
}

const KeptRow& kept_by(udp_ctrl_cam_cmds set_code) {
  for (const KeptRow& kept : layout().rows) {
    if (kept.row->codes.set == set_code) return kept;
  }
  throw std::invalid_argument("no setting");
}

/// Whether it is only written, and read under its synonym.
bool is_second_name(const Row& row) {
  const auto& links = layout().links;
  return !row.readable() && std::any_of(links.begin(), links.end(),
                                        [&](const Link& link) { return link.written == &row; });
}

// What a value may be.

bool has_no_denominator(const Field& ratio, const u8* wanted) {
  const u8* const end = wanted + ratio.offset + ratio.width;
  return std::all_of(end - ratio.width / 2, end, [](u8 byte) { return byte == 0; });
}

vlm_err_t check_field(const Row& row, const Field& field, const u8* wanted) {
  if (catalogue::takes(field, wanted)) return VLM_ERR_NONE;
  if (field.type == Type::kRatio && has_no_denominator(field, wanted)) {
    return VLM_ERR_IS_INVALID_DEN;
  }
  return field.refusal != VLM_ERR_NONE ? field.refusal : row.refusal;
}

/// Of a record, fields that are refused as the record is come before those with a refusal of their
/// own.
vlm_err_t check_value(const Row& row, const u8* wanted) {
  if (row.value.type != Type::kGroup) return check_field(row, row.value, wanted);
  for (const bool of_its_own : {false, true}) {
    for (const Field& field : row.value.fields) {
      if ((field.refusal != VLM_ERR_NONE) != of_its_own) continue;
      const vlm_err_t result = check_field(row, field, wanted);
      if (result != VLM_ERR_NONE) return result;
    }
  }
  return VLM_ERR_NONE;
}

bool is_too_long(const Row& row, const u8* in) {
  return row.value.type == Type::kText && !contains(kCutTexts, row.codes.set) &&
         load_text(in).size() > row.value.width;
}

/// The bits of the request's mask, when it has one.
std::optional<u32> selection(const Row& row, const u8* in) {
  for (const Field& field : row.value.fields) {
    if (field.is(catalogue::kMask)) return load<u32>(in + field.offset);
  }
  return std::nullopt;
}

/// Bytes at the start of the record.
std::size_t left_out_of_replies(const Row& row) {
  return static_cast<std::size_t>(-row.reply_shift);
}

}  // namespace

CameraSettings::CameraSettings() : _bytes(layout().size) {
  for (const KeptRow& kept : layout().rows) {
    catalogue::Payload initial{};
    catalogue::put_initial(kept.row->value, initial);
    std::memcpy(&_bytes[kept.place], initial.data(), kept.row->value.width);
  }
}

std::optional<vlm_err_t> CameraSettings::answer(int code, const u8* in, u8* out) {
  bool known = false;
  for (const KeptRow& kept : layout().rows) {
    const bool reads = kept.row->codes.get == code;
    if (!reads && kept.row->codes.set != code) continue;
    known = true;
    if (!catalogue::is_instance(*kept.row, in)) continue;
    if (!reads) return set(kept, in);
    get(kept, out);
    return VLM_ERR_NONE;
  }
  if (!known) return std::nullopt;
  return VLM_ERR_IS_INVALID_PARAM;
}

u32 CameraSettings::operator[](udp_ctrl_cam_cmds code) const {
  const KeptRow& kept = kept_by(code);
  u32 number = 0;
  if (kept.row->value.width > sizeof number) throw std::invalid_argument("no number");
  std::memcpy(&number, &_bytes[kept.place], kept.row->value.width);
  return number;
}

std::vector<udp_ctrl_cam_t> CameraSettings::as_requests() const {
  std::vector<udp_ctrl_cam_t> requests;
  for (const KeptRow& kept : layout().rows) {
    if (!kept.row->writable() || is_second_name(*kept.row)) continue;
    udp_ctrl_cam_t request{};
    request.cmd_type = static_cast<u16>(kept.row->codes.set);
    std::memcpy(request.cmd_params, &_bytes[kept.place], kept.row->value.width);
    requests.push_back(request);
  }
  return requests;
}

const u8* CameraSettings::bytes(udp_ctrl_cam_cmds code, std::size_t size) const {
  const KeptRow& kept = kept_by(code);
  if (kept.row->value.width != size) throw std::invalid_argument("another record");
  return &_bytes[kept.place];
}

/// A reply may hold the record without its first bytes.
void CameraSettings::get(const KeptRow& kept, u8* out) const {
  const std::size_t left_out = left_out_of_replies(*kept.row);
  std::memcpy(out, &_bytes[kept.place + left_out], kept.row->value.width - left_out);
}

vlm_err_t CameraSettings::set(const KeptRow& kept, const u8* in) {
  const Row& row = *kept.row;
  if (const vlm_err_t result = check_needs(row); result != VLM_ERR_NONE) return result;
  if (is_too_long(row, in)) return row.refusal;
  const catalogue::Payload wanted = merged(kept, in);
  if (const vlm_err_t result = check_value(row, wanted.data()); result != VLM_ERR_NONE) {
    return result;
  }
  for (const Rule& rule : kRules) {
    if (rule.code != row.codes.set) continue;
    if (const vlm_err_t result = rule.check(*this, wanted.data()); result != VLM_ERR_NONE) {
      return result;
    }
  }
  std::memcpy(&_bytes[kept.place], wanted.data(), row.value.width);
  pass_on(row);
  return VLM_ERR_NONE;
}

/// What the value would be. A text ends at its terminator; a record with a mask takes the fields
/// that the mask names, and others all that replies show.
catalogue::Payload CameraSettings::merged(const KeptRow& kept, const u8* in) const {
  const Field& value = kept.row->value;
  catalogue::Payload wanted{};
  if (value.type == Type::kText) {
    std::memcpy(wanted.data(), in, strnlen(reinterpret_cast<const char*>(in), value.width));
    return wanted;
  }
  std::memcpy(wanted.data(), &_bytes[kept.place], value.width);
  if (const auto selected = selection(*kept.row, in)) {
    for (const Field& field : value.fields) {
      if ((field.selects & *selected) == 0) continue;
      std::memcpy(&wanted[field.offset], in + field.offset, field.width);
    }
    return wanted;
  }
  const std::size_t left_out = left_out_of_replies(*kept.row);
  std::memcpy(&wanted[left_out], in + left_out, value.width - left_out);
  return wanted;
}

/// Of the needs that are settings kept here: those of the camera's mode are its own affair.
vlm_err_t CameraSettings::check_needs(const Row& row) const {
  for (const catalogue::Need& need : row.needs) {
    const Row& needed = *catalogue::find(need.setting)->row;
    if (!is_kept(needed)) continue;
    const u32 number = (*this)[static_cast<udp_ctrl_cam_cmds>(needed.codes.set)];
    if (number != catalogue::number_of<u32>(needed.value.choices, need.choice)) return need.refusal;
  }
  return VLM_ERR_NONE;
}

void CameraSettings::pass_on(const Row& written) {
  for (const Link& link : layout().links) {
    if (link.written == &written) std::memcpy(&_bytes[link.to], &_bytes[link.from], link.width);
  }
}

}  // namespace vlm::sim
