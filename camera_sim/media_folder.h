// A folder in which the pictures of the simulated camera appear as files.
#ifndef CAMERA_SIM_MEDIA_FOLDER_H
#define CAMERA_SIM_MEDIA_FOLDER_H

#include <string>

#include "vlm_camera_payloads.h"

namespace vlm::sim {

/// The picture as a file: a grey JPEG of 640 x 480 with its data as a comment.
std::string jpeg_of(const udp_ctrl_cam_misc_image_info_t& picture);

class MediaFolder {
 public:
  /// `path`: what stands for the camera's card, "/sdcard".
  explicit MediaFolder(std::string path) : _path(std::move(path)) {}

  /// Writes the file of `picture` under the name that its data give it, folders included, whole or
  /// not at all; one of the same name is replaced. A picture that was lost has no file. Returns an
  /// empty text, or what is wrong.
  std::string keep(const udp_ctrl_cam_misc_image_info_t& picture) const;

 private:
  const std::string _path;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_MEDIA_FOLDER_H
