// Changes PNG and JPEG files part by part, so that they stay well formed: checksums, lengths,
// packed data and code tables fit again after a change, and the decoder gets to what follows them.
// Other bytes, and the operations behind a picture, change as libFuzzer changes them.
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

using Bytes = std::string;
using namespace std::string_view_literals;

constexpr size_t kMaxPart = size_t{1} << 15;
constexpr size_t kMaxUnpacked = size_t{1} << 20;

class Chance {
 public:
  explicit Chance(unsigned seed) : engine_(seed) {}
  size_t below(size_t count) { return engine_() % count; }
  bool one_in(size_t count) { return below(count) == 0; }
  template <typename Value, size_t Count>
  Value one_of(const Value (&values)[Count]) {
    return values[below(Count)];
  }

 private:
  std::minstd_rand engine_;
};

void mutate(Bytes &bytes, size_t longest = kMaxPart) {
  const size_t size = std::min(bytes.size(), longest);
  bytes.resize(longest);
  bytes.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(bytes.data()), size, longest));
}

// Changes bytes, but not how many there are.
void mutate_values(Bytes &bytes) {
  const size_t size = bytes.size();
  if (size > 0) {
    mutate(bytes, size);
    bytes.resize(size);
  }
}

uint8_t byte_at(std::string_view bytes, size_t place) {
  return place < bytes.size() ? static_cast<uint8_t>(bytes[place]) : uint8_t{0};
}

Bytes big_endian(size_t value, int count) {
  Bytes bytes;
  while (count-- > 0) {
    bytes += static_cast<char>(value >> 8 * count);
  }
  return bytes;
}

size_t read_big_endian(std::string_view bytes, size_t place, size_t count) {
  size_t value = 0;
  for (size_t i = 0; i < count; ++i) {
    value = value << 8 | byte_at(bytes, place + i);
  }
  return value;
}

// A chunk of a PNG file, or a segment of a JPEG file with the coded data that follows it.
struct Part {
  Bytes type;
  Bytes content;
  Bytes coded;
};

// Repeats, removes or exchanges parts.
void rearrange(std::vector<Part> &parts, Chance &chance) {
  const size_t a = chance.below(parts.size());
  const size_t b = chance.below(parts.size());
  switch (chance.below(3)) {
    case 0:
      parts.insert(parts.begin() + static_cast<ptrdiff_t>(a), Part(parts[b]));
      break;
    case 1:
      parts.erase(parts.begin() + static_cast<ptrdiff_t>(a));
      break;
    default:
      std::swap(parts[a], parts[b]);
  }
}

// ---- PNG ------------------------------------------------------------------------------

constexpr auto kPngSignature = "\x89PNG\r\n\x1a\n"sv;

std::vector<Part> png_parts(std::string_view &file) {
  std::vector<Part> parts;
  file.remove_prefix(kPngSignature.size());
  while (file.size() >= 12 && (parts.empty() || parts.back().type != "IEND")) {
    const size_t size = std::min(read_big_endian(file, 0, 4), file.size() - 12);
    parts.push_back({Bytes(file.substr(4, 4)), Bytes(file.substr(8, size)), ""});
    file.remove_prefix(size + 12);
  }
  return parts;
}

Bytes png_file(const std::vector<Part> &parts) {
  Bytes file(kPngSignature);
  for (const Part &part : parts) {
    const Bytes named = part.type + part.content;
    const auto checksum =
        crc32(0, reinterpret_cast<const Bytef *>(named.data()), static_cast<uInt>(named.size()));
    file += big_endian(part.content.size(), 4) + named + big_endian(checksum, 4);
  }
  return file;
}

// As much of the pixels as is well formed.
Bytes unpack(const Bytes &packed) {
  Bytes bytes(kMaxUnpacked, '\0');
  uLongf size = bytes.size();
  uncompress(reinterpret_cast<Bytef *>(bytes.data()), &size,
             reinterpret_cast<const Bytef *>(packed.data()), packed.size());
  bytes.resize(size);
  return bytes;
}

// Level 0 stores them; small ones take fixed codes.
Bytes pack(const Bytes &bytes, Chance &chance) {
  uLongf size = compressBound(bytes.size());
  Bytes packed(size, '\0');
  compress2(reinterpret_cast<Bytef *>(packed.data()), &size,
            reinterpret_cast<const Bytef *>(bytes.data()), bytes.size(),
            static_cast<int>(chance.below(10)));
  packed.resize(size);
  return packed;
}

void mutate_png_header(Bytes &header, Chance &chance) {
  constexpr char kDepths[] = {1, 2, 4, 8, 8, 8, 16};
  constexpr char kColors[] = {0, 2, 3, 4, 6};
  header.resize(13);
  switch (chance.below(4)) {
    case 0:
      header[8] = chance.one_of(kDepths);
      break;
    case 1:
      header[9] = chance.one_of(kColors);
      break;
    case 2:
      header[12] = static_cast<char>(header[12] ^ 1);
      break;
    default:
      header.replace(chance.one_in(2) ? 0 : 4, 4, big_endian(1 + chance.below(40), 4));
  }
}

// The pixels, which may lie in several chunks, are unpacked, changed and packed into one or two.
void mutate_png_pixels(std::vector<Part> &parts, Chance &chance) {
  Bytes packed;
  size_t place = parts.size();
  for (size_t i = parts.size(); i-- > 0;) {
    if (parts[i].type == "IDAT") {
      packed.insert(0, parts[i].content);
      parts.erase(parts.begin() + static_cast<ptrdiff_t>(i));
      place = i;
    }
  }
  Bytes pixels = unpack(packed);
  chance.one_in(3) ? mutate(pixels, pixels.size() + 64) : mutate_values(pixels);
  packed = pack(pixels, chance);
  const size_t first = chance.one_in(2) ? packed.size() : chance.below(packed.size() + 1);
  const auto at = parts.begin() + static_cast<ptrdiff_t>(place);
  parts.insert(at, {{"IDAT", packed.substr(0, first), ""}, {"IDAT", packed.substr(first), ""}});
}

void mutate_png(std::vector<Part> &parts, Chance &chance) {
  Part &part = parts[chance.below(parts.size())];
  switch (chance.below(6)) {
    case 0:
      mutate_png_header(parts.front().content, chance);
      break;
    case 1:
      rearrange(parts, chance);
      break;
    case 2:
      part.content.size() > 1 && chance.one_in(2) ? mutate_values(part.content)
                                                  : mutate(part.content);
      break;
    case 3:
      part.type = chance.one_of({"PLTE", "tRNS", "IDAT", "CgBI", "IEND", "teXt"});
      break;
    default:
      mutate_png_pixels(parts, chance);
  }
}

// ---- JPEG -----------------------------------------------------------------------------

bool is_data(uint8_t marker) { return marker == 0 || (marker >= 0xD0 && marker <= 0xD7); }

std::vector<Part> jpeg_parts(std::string_view &file) {
  std::vector<Part> parts;
  file.remove_prefix(2);
  while (file.size() >= 4 && byte_at(file, 0) == 0xFF && byte_at(file, 1) != 0xD9) {
    const size_t size = std::clamp(read_big_endian(file, 2, 2), size_t{2}, file.size() - 2);
    Part part = {Bytes(file.substr(1, 1)), Bytes(file.substr(4, size - 2)), ""};
    file.remove_prefix(2 + size);
    size_t coded = 0;
    while (coded < file.size() &&
           (byte_at(file, coded) != 0xFF || is_data(byte_at(file, coded + 1)))) {
      coded += byte_at(file, coded) == 0xFF ? 2 : 1;
    }
    part.coded = file.substr(0, coded);
    file.remove_prefix(std::min(coded, file.size()));
    parts.push_back(std::move(part));
  }
  file.remove_prefix(std::min(size_t{2}, file.size()));
  return parts;
}

Bytes jpeg_file(const std::vector<Part> &parts) {
  Bytes file = "\xFF\xD8";
  for (const Part &part : parts) {
    file += '\xFF' + part.type + big_endian(part.content.size() + 2, 2) + part.content + part.coded;
  }
  return file + "\xFF\xD9";
}

// Keeps restart markers and makes every other 0xFF data.
void mutate_coded(Bytes &coded, Chance &chance) {
  mutate(coded);
  for (size_t i = 0; i < coded.size(); ++i) {
    if (byte_at(coded, i) == 0xFF && !is_data(byte_at(coded, i + 1))) {
      coded.insert(++i, 1, chance.one_in(8) ? static_cast<char>(0xD0 + chance.below(8)) : '\0');
    }
  }
}

// Sixteen counts, whose codes must have room, and as many values.
void mutate_codes(Bytes &table, Chance &chance) {
  table.resize(std::max(table.size(), size_t{17}));
  if (chance.one_in(2)) {
    table[1 + chance.below(16)] = static_cast<char>(chance.below(12));
  }
  size_t values = 0;
  size_t room = 2;
  for (size_t length = 1; length <= 16; ++length, room *= 2) {
    const size_t count = std::min({size_t{byte_at(table, length)}, room, 256 - values});
    table[length] = static_cast<char>(count);
    values += count;
    room -= count;
  }
  const size_t known = table.size();
  table.resize(17 + values);
  for (size_t i = known; i < table.size(); ++i) {
    table[i] = static_cast<char>(chance.below(256));
  }
  if (values > 0 && chance.one_in(2)) {
    table[17 + chance.below(values)] = static_cast<char>(chance.below(256));
  }
  table[0] = static_cast<char>((byte_at(table, 0) & 0x10) | (byte_at(table, 0) & 3));
}

void mutate_jpeg(std::vector<Part> &parts, Chance &chance) {
  Part &part = parts[chance.below(parts.size())];
  Bytes &content = part.content;
  const uint8_t type = byte_at(part.type, 0);
  if (chance.one_in(8)) {
    rearrange(parts, chance);
  } else if (!part.coded.empty() && !chance.one_in(4)) {
    mutate_coded(part.coded, chance);
  } else if (type == 0xC4) {
    mutate_codes(content, chance);
  } else if ((type == 0xC0 || type == 0xC1 || type == 0xC2) && content.size() >= 9) {
    constexpr char kSampling[] = {0x11, 0x21, 0x12, 0x22, 0x41, 0x14, 0x31, 0x44};
    switch (chance.below(3)) {
      case 0:
        content.replace(chance.one_in(2) ? 1 : 3, 2, big_endian(1 + chance.below(80), 2));
        break;
      case 1:
        content[7 + 3 * chance.below((content.size() - 6) / 3)] = chance.one_of(kSampling);
        break;
      default:
        part.type[0] = static_cast<char>(0xC0 + chance.below(3));
    }
  } else if (type == 0xDB || type == 0xC0 || type == 0xDA) {
    mutate_values(content);
  } else {
    mutate(content, 256);
  }
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  Chance chance(seed);
  std::string_view rest(reinterpret_cast<const char *>(data), size);
  const bool is_png = rest.substr(0, kPngSignature.size()) == kPngSignature;
  const bool is_jpeg = rest.substr(0, 3) == "\xFF\xD8\xFF";
  if (chance.one_in(4) || (!is_png && !is_jpeg)) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  std::vector<Part> parts = is_png ? png_parts(rest) : jpeg_parts(rest);
  for (size_t count = 1 + chance.below(3); count > 0 && !parts.empty(); --count) {
    is_png ? mutate_png(parts, chance) : mutate_jpeg(parts, chance);
  }
  const Bytes changed = (is_png ? png_file(parts) : jpeg_file(parts)) + Bytes(rest);
  if (changed.size() > max_size) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  std::copy(changed.begin(), changed.end(), reinterpret_cast<char *>(data));
  return changed.size();
}
