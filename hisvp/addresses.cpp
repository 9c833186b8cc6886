#include "hisvp/addresses.h"

#include <cstring>

#include "hisvp/mpp.h"

namespace tavrine {

MmzAddress find_in_mmz(const void *address) {
  // The look-up leaves the record alone when it finds nothing. Its return value does not say so,
  // so the record is pre-filled with an invalid HI_BOOL.
  constexpr unsigned char kUntouched = 0x23;
  SYS_VIRMEM_INFO_S info;
  std::memset(&info, kUntouched, sizeof(info));
  HI_MPI_SYS_GetVirMemInfo(address, &info);
  unsigned char first_byte = 0;
  std::memcpy(&first_byte, &info.bCached, sizeof(first_byte));
  if (first_byte == kUntouched) {
    return {false, 0};
  }
  return {true, info.u64PhyAddr};
}

}  // namespace tavrine
