#include "service_commands.h"

#include "catalogue.h"

namespace vlm::fleet {

bool only_reads(u16 code) {
  const catalogue::Row* const row = catalogue::find_by_code(code);
  return row != nullptr && row->codes.get == code;
}

bool needs_service(const udp_ctrl_cam_t& request) {
  const catalogue::Row* const row = catalogue::find_by_code(request.cmd_type, request.cmd_params);
  if (row == nullptr) return true;
  if (row->codes.get == request.cmd_type) return false;
  return row->is(catalogue::kDestructive) || row->is(catalogue::kService);
}

}  // namespace vlm::fleet
