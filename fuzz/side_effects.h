// What calls leave behind on purpose, and where they may write files.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
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

// A folder for saved pictures, removed when the process ends.
class Folder {
 public:
  Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
    require(mkdtemp(path.data()) != nullptr, "cannot make a folder");
    path_ = path;
  }
  Folder(const Folder &) = delete;
  Folder &operator=(const Folder &) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string file(const char *name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// The bytes of the file.
inline std::vector<char> save(const tavrine_frame_t *frame, int32_t encoding) {
  static const Folder kFolder;
  const std::string path = kFolder.file(encoding == TAVRINE_ENCODE_JPEG  ? "a.jpg"
                                        : encoding == TAVRINE_ENCODE_BMP ? "a.bmp"
                                                                         : "a.png");
  require(tavrine_frame_save(frame, path.c_str()) == TAVRINE_OK, "a frame cannot be saved");
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace tavrine::fuzz
