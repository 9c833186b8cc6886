// Runs one operation a number of times, for an emulator that counts instructions.
//
//   armv7_count                prints the group, name and output pixels of all operations
//   armv7_count NAME TIMES
#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "calls.h"
#include "picture_memory.h"

namespace tavrine::bench {
namespace {

int run(int argc, char **argv) {
  const std::vector<Operation> operations = all_operations();
  if (argc == 1) {
    for (const Operation &operation : operations) {
      std::cout << name_of(operation.group) << '/' << operation.name << '/'
                << output_pixels(operation) << '\n';
    }
    return 0;
  }
  if (argc != 3) {
    std::cerr << "usage: armv7_count [NAME TIMES]\n";
    return 2;
  }
  const std::string name = argv[1];
  const long times = std::strtol(argv[2], nullptr, 10);
  for (const Operation &operation : operations) {
    if (operation.name == name) {
      PictureMemory memory(0);
      Pictures pictures(PictureMemory::provide, &memory);
      const Call call = library_call(operation, pictures);
      for (long i = 0; i < times; ++i) {
        if (!call()) {
          throw std::runtime_error(name + " failed");
        }
      }
      return 0;
    }
  }
  std::cerr << "no operation is called " << name << '\n';
  return 2;
}

}  // namespace
}  // namespace tavrine::bench

int main(int argc, char **argv) {
  try {
    return tavrine::bench::run(argc, argv);
  } catch (const std::exception &failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
