// Printable texts of the camera result codes.
#ifndef VELMAR_ERR_H
#define VELMAR_ERR_H

/// Text of a `vlm_err_t` value. A code without a text yields "VLM unknown error number:%d" in one
/// buffer a thread: that thread's next call with such a code overwrites it.
const char* vlm_strerr(int err);

#endif  // VELMAR_ERR_H
