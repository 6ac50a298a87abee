#include "udp_layout.h"

#include <algorithm>

#include "vlm_udp_camctrl_defines.h"

namespace vlm::ctl {

using catalogue::Payload;

namespace {

enum Order : u8 { kAsIs, kSwapped, kZeros };

/// Bytes of the data and where they stand in the parameters on the bus.
struct Piece {
  std::size_t place;
  std::size_t width;
  Order order;
};

constexpr Piece zeros(std::size_t width) { return {0, width, kZeros}; }

constexpr Piece kByte[] = {{0, 1, kAsIs}};
constexpr Piece kTwoBytes[] = {{0, 2, kAsIs}};  // in the machine's own order
constexpr Piece kText[] = {{0, 20, kAsIs}};
constexpr Piece kIgnored[] = {zeros(1)};
constexpr Piece kSeconds[] = {{0, 4, kSwapped}};
constexpr Piece kIso[] = {zeros(2), {0, 2, kSwapped}};
constexpr Piece kExposure[] = {{offsetof(udp_ctrl_cam_shutter_iso_t, sht_num), 2, kSwapped},
                               {offsetof(udp_ctrl_cam_shutter_iso_t, sht_dem), 2, kSwapped},
                               {offsetof(udp_ctrl_cam_shutter_iso_t, iso), 4, kSwapped}};
constexpr Piece kVideo[] = {
    {offsetof(udp_ctrl_video_t, res) + offsetof(udp_ctrl_cam_res_t, w), 2, kSwapped},
    {offsetof(udp_ctrl_video_t, res) + offsetof(udp_ctrl_cam_res_t, h), 2, kSwapped},
    {offsetof(udp_ctrl_video_t, fps), 1, kAsIs},
    zeros(4)};
constexpr Piece kPhoto[] = {{offsetof(udp_ctrl_cam_photo_mode_t, photo_amount), 2, kSwapped},
                            {offsetof(udp_ctrl_cam_photo_mode_t, ev_step), 2, kAsIs},
                            {offsetof(udp_ctrl_cam_photo_mode_t, interval_ms), 4, kSwapped},
                            {offsetof(udp_ctrl_cam_photo_mode_t, capture_mode), 1, kAsIs}};
// Name and number of the version; the rest of the branch and the time of the release are unused.
constexpr Piece kVersion[] = {{0, 12, kAsIs}, zeros(8)};

struct Layout {
  int option;
  catalogue::List<Piece> pieces;
};

constexpr Layout kLayouts[] = {
    {VELMAR_CAMERACTRL_RECORD_START, {}},
    {VELMAR_CAMERACTRL_RECORD_STOP, {}},
    {VELMAR_CAMERACTRL_TAKE_PHOTO, {}},
    {VELMAR_CAMERACTRL_STOP_PHOTO, {}},
    {VELMAR_CAMERACTRL_SET_VIDEO, kVideo},
    {VELMAR_CAMERACTRL_GET_VIDEO, kVideo},
    {VELMAR_CAMERACTRL_SET_PHOTO_MODE, kPhoto},
    {VELMAR_CAMERACTRL_SET_EV, kTwoBytes},
    {VELMAR_CAMERACTRL_SET_SHUTTER, kTwoBytes},
    {VELMAR_CAMERACTRL_SET_ISO, kIso},
    {VELMAR_CAMERACTRL_SET_SHUTTER_ISO, kExposure},
    {VELMAR_MISC_GET_VER, kVersion},
    {VELMAR_MISC_SET_TIME, kSeconds},
    {VELMAR_MISC_FORMAT_SDCARD, kIgnored},
    {VELMAR_MISC_RESET_SETTINGS, {}},
    {VELMAR_MISC_REBOOT_DEVICE, {}},
    {VELMAR_CAMERACTRL_SET_DRONE_NAME, kText},
    {VELMAR_CAMERACTRL_SET_DRONE_PASSWORD, kText},
    {VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS, kTwoBytes},
    {VELMAR_CAMERACTRL_GET_SPOT_METERING_COORDS, kTwoBytes},
};

catalogue::List<Piece> pieces_of(int option) {
  const auto* const found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts),
                   [option](const Layout& layout) { return layout.option == option; });
  return found != std::end(kLayouts) ? found->pieces : catalogue::List<Piece>(kByte);
}

}  // namespace

std::size_t udp_size(int option) {
  std::size_t size = 0;
  for (const Piece& piece : pieces_of(option)) size += piece.width;
  return size;
}

UdpData udp_data(int option, const Payload& payload) {
  UdpData data;
  for (const Piece& piece : pieces_of(option)) {
    const auto begin = payload.begin() + static_cast<std::ptrdiff_t>(piece.place);
    const auto end = begin + static_cast<std::ptrdiff_t>(piece.width);
    const auto place = static_cast<std::ptrdiff_t>(data.size());
    if (piece.order == kZeros) {
      data.insert(data.end(), piece.width, 0);
    } else {
      data.insert(data.end(), begin, end);
    }
    if (piece.order == kSwapped) std::reverse(data.begin() + place, data.end());
  }
  return data;
}

std::optional<Payload> bus_payload(int option, const UdpData& data) {
  if (data.size() != udp_size(option)) return std::nullopt;
  Payload payload{};
  auto next = data.begin();
  for (const Piece& piece : pieces_of(option)) {
    const auto end = next + static_cast<std::ptrdiff_t>(piece.width);
    const auto target = payload.begin() + static_cast<std::ptrdiff_t>(piece.place);
    if (piece.order == kAsIs) std::copy(next, end, target);
    if (piece.order == kSwapped) std::reverse_copy(next, end, target);
    next = end;
  }
  return payload;
}

}  // namespace vlm::ctl
