// Calls whose results may depend on the machine: files and texts.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tests/random_calls.h"

namespace tavrine::test {
namespace {

// In the folder, or in one that does not exist.
std::string new_path(RandomSource &source) {
  static std::atomic<int> next{0};
  const char *const extensions[] = {".png", ".PNG", ".jpg", ".jpeg", ".bmp", ".gif", ""};
  const char *const middle = source.chance(10) ? "/none/" : "/";
  return source.variety().folder + middle + std::to_string(next++) + source.one_of(extensions);
}

void save_and_load(RandomSource &source, Digest &digest) {
  const SharedFrame in = source.input(source.one_of(kAllFormats));
  const std::string path = new_path(source);
  digest.add(source.attempt([&] { return tavrine_frame_save(in.get(), path.c_str()); }));
  OwnedFrame back;
  source.attempt([&] {
    back = OwnedFrame(tavrine_frame_load(path.c_str()));
    return 0;
  });
  unlink(path.c_str());
  digest.add(back.get());
}

void texts(RandomSource &, Digest &digest) {
  for (const char *text :
       {tavrine_aux_meta(), tavrine_aux_version(), tavrine_aux_revision(), __plugin_name()}) {
    digest.add(text, std::strlen(text));
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / "tavrine-XXXXXX") {
  EXPECT_NE(mkdtemp(path_.data()), nullptr);
}

TemporaryFolder::~TemporaryFolder() { std::filesystem::remove_all(path_); }

const std::vector<RandomOperation> &random_file_operations() {
  static const std::vector<RandomOperation> operations = {
      {"tavrine_frame_save, tavrine_frame_load", 60, save_and_load},
      {"texts", 1, texts},
  };
  return operations;
}

}  // namespace tavrine::test
