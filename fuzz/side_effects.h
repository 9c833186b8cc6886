// What calls leave behind on purpose, and where they may write files.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/watch.h"
#include "tavrine_aux.h"
#include "tavrine_mpp_devkit.h"

namespace tavrine::fuzz {

// The library leaks the scratch memory of a resize that the engine refused, on purpose.
class RefusedResizes {
 public:
  RefusedResizes() {
    tavrine_devkit_mpp_set_observer(
        [](void *self, const tavrine_devkit_mpp_call_t *call) {
          if (std::strcmp(call->name, "HI_MPI_IVE_Resize") == 0 && call->code != HI_SUCCESS) {
            static_cast<RefusedResizes *>(self)->scratch_.push_back(call->scratch);
          }
        },
        this);
  }
  RefusedResizes(const RefusedResizes &) = delete;
  RefusedResizes &operator=(const RefusedResizes &) = delete;
  ~RefusedResizes() {
    tavrine_devkit_mpp_set_observer(nullptr, nullptr);
    tavrine_devkit_mpp_clear_faults();
    for (const IVE_MEM_INFO_S &block : scratch_) {
      HI_MPI_SYS_MmzFree(block.u64PhyAddr,
                         reinterpret_cast<void *>(static_cast<uintptr_t>(block.u64VirAddr)));
    }
  }

 private:
  std::vector<IVE_MEM_INFO_S> scratch_;
};

// The bytes of the saved file.
inline std::vector<char> save(const tavrine_frame_t *frame, int32_t encoding) {
  char path[] = "/tmp/fuzz-XXXXXX.jpg";
  const char *extension = encoding == TAVRINE_ENCODE_JPEG  ? "jpg"
                          : encoding == TAVRINE_ENCODE_BMP ? "bmp"
                                                           : "png";
  std::memcpy(path + sizeof path - 4, extension, 3);
  const int descriptor = mkstemps(path, 4);
  require(descriptor >= 0, "cannot make a file");
  require(tavrine_frame_save(frame, path) == TAVRINE_OK, "a frame cannot be saved");
  std::vector<char> bytes(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)));
  require(pread(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
          "a saved file cannot be read");
  close(descriptor);
  unlink(path);
  return bytes;
}

}  // namespace tavrine::fuzz
