#include "mmz_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace tavrine::devkit {
namespace {

constexpr size_t kLineBytes = 64;

uint8_t *map(size_t size, int flags, int file) {
  void *pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, file, 0);
  return pages != MAP_FAILED ? static_cast<uint8_t *>(pages) : nullptr;
}

void unmap(uint8_t *pages, size_t size) {
  if (pages != nullptr) {
    munmap(pages, size);
  }
}

}  // namespace

bool MmzPages::allocate(size_t size) {
  const int file = memfd_create("mmz", MFD_CLOEXEC);
  if (file < 0) {
    return false;
  }
  size_ = size;
  if (ftruncate(file, static_cast<off_t>(size)) == 0) {
    cpu_ = map(size, MAP_SHARED, file);
    cpu_inside_ = map(size, MAP_SHARED, file);
    engine_ = map(size, MAP_PRIVATE | MAP_ANONYMOUS, -1);
  }
  close(file);
  return cpu_ != nullptr && cpu_inside_ != nullptr && engine_ != nullptr;
}

MmzPages::~MmzPages() {
  unmap(cpu_, size_);
  unmap(cpu_inside_, size_);
  unmap(engine_, size_);
}

void MmzPages::flush(size_t offset, size_t size) {
  if (size == 0) {
    return;
  }
  // Blocks are whole pages, so rounding stays inside.
  const size_t begin = offset / kLineBytes * kLineBytes;
  const size_t end = (offset + size + kLineBytes - 1) / kLineBytes * kLineBytes;
  std::memcpy(engine_ + begin, cpu_inside_ + begin, end - begin);
}

void MmzPages::write_by_engine(size_t offset, const uint8_t *bytes, size_t size) {
  while (size > 0) {
    const size_t line = offset / kLineBytes * kLineBytes;
    const size_t part = std::min(size, line + kLineBytes - offset);
    const bool cpu_has_written = std::memcmp(cpu_inside_ + line, engine_ + line, kLineBytes) != 0;
    std::memcpy(engine_ + offset, bytes, part);
    if (!cpu_has_written) {
      std::memcpy(cpu_inside_ + offset, bytes, part);
    }
    offset += part;
    bytes += part;
    size -= part;
  }
}

}  // namespace tavrine::devkit
