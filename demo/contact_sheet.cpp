// Puts pictures on one sheet, each with its name and a caption below. Also shows how a frame is
// resized into a part of another frame.
//
//   contact_sheet OUT.png TITLE PICTURE CAPTION [PICTURE CAPTION]...
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "font.h"
#include "frame.h"
#include "problem_log.h"
#include "tavrine_aux.h"
#include "tavrine_core.h"

namespace {

using tavrine::demo::Frame;

struct Color {
  uint8_t red, green, blue;
};

constexpr Color kPaper = {30, 33, 38};
constexpr Color kCell = {44, 48, 55};
constexpr Color kBright = {250, 246, 236};
constexpr Color kDim = {164, 172, 184};

constexpr int32_t kColumns = 5;
constexpr int32_t kPictureWidth = 320;
constexpr int32_t kPictureHeight = 240;
constexpr int32_t kGap = 24;
constexpr int32_t kTextScale = 2;
constexpr int32_t kTitleScale = 4;
constexpr int32_t kLineHeight = 22;
constexpr int32_t kCaptionLines = 4;  // the name and up to three lines of the caption
constexpr int32_t kCellHeight = kPictureHeight + 10 + kCaptionLines * kLineHeight;
constexpr int32_t kTitleHeight = 60;

int32_t letter_width(int32_t scale) { return (tavrine::demo::kGlyphColumns + 1) * scale; }

void paint_box(const Frame &sheet, tavrine_area2d_t box, const Color &color) {
  for (int32_t y = box.y; y < std::min(box.y + box.height, sheet->height); ++y) {
    uint8_t *row = tavrine::demo::row_of(*sheet, y);
    for (int32_t x = box.x; x < std::min(box.x + box.width, sheet->width); ++x) {
      row[3 * x] = color.red;
      row[3 * x + 1] = color.green;
      row[3 * x + 2] = color.blue;
    }
  }
}

void write_line(const Frame &sheet, int32_t x, int32_t y, const std::string &text, int32_t scale,
                const Color &color) {
  for (const char character : text) {
    for (int32_t row = 0; row < tavrine::demo::kGlyphRows; ++row) {
      for (int32_t column = 0; column < tavrine::demo::kGlyphColumns; ++column) {
        if (tavrine::demo::is_inked(character, column, row)) {
          paint_box(sheet, {x + column * scale, y + row * scale, scale, scale}, color);
        }
      }
    }
    x += letter_width(scale);
  }
}

// At most `line_count` lines; a text that does not fit ends in dots.
std::vector<std::string> wrapped(const std::string &text, size_t letters, size_t line_count) {
  std::vector<std::string> lines;
  size_t begin = 0;
  while (begin < text.size() && lines.size() < line_count) {
    size_t end = text.size();
    if (end - begin > letters) {
      const size_t blank = text.rfind(' ', begin + letters);
      end = blank == std::string::npos || blank <= begin ? begin + letters : blank;
    }
    lines.push_back(text.substr(begin, end - begin));
    begin = std::min(text.find_first_not_of(' ', end), text.size());
  }
  if (begin < text.size()) {
    lines.back().resize(std::min(lines.back().size(), letters - 2));
    lines.back() += "..";
  }
  return lines;
}

Frame resized(const Frame &frame, int32_t width, int32_t height) {
  tavrine_frame_t *result = nullptr;
  tavrine_frame_resize(frame.get(), &result, width, height);
  return Frame(result);
}

// In RGB24, halved until it is less than twice as large as its place: the bilinear kernel leaves
// out pixels at stronger reductions.
Frame load_reduced(const char *path) {
  const Frame picture(tavrine_frame_load(path));
  if (!picture) {
    return nullptr;
  }
  tavrine_frame_t *rgb = nullptr;
  tavrine_frame_cvt_color(picture.get(), &rgb, TAVRINE_FORMAT_RGB24);
  Frame frame(rgb);
  while (frame && (frame->width >= 2 * kPictureWidth || frame->height >= 2 * kPictureHeight)) {
    frame = resized(frame, std::max(frame->width / 2, 1), std::max(frame->height / 2, 1));
  }
  return frame;
}

// Small pictures are enlarged at most to twice their size.
bool place_picture(const Frame &sheet, const tavrine_area2d_t &place, const char *path) {
  const Frame picture = load_reduced(path);
  if (!picture) {
    return false;
  }
  const double ratio = std::min({2.0, static_cast<double>(place.width) / picture->width,
                                 static_cast<double>(place.height) / picture->height});
  const int32_t width = std::max(static_cast<int32_t>(picture->width * ratio), 1);
  const int32_t height = std::max(static_cast<int32_t>(picture->height * ratio), 1);
  // A part of the sheet is a frame of its own, and resizing writes into it.
  const Frame part(tavrine_frame_roi(sheet.get(), place.x + (place.width - width) / 2,
                                     place.y + (place.height - height) / 2, width, height));
  tavrine_frame_t *slot = part.get();
  return part && tavrine_frame_resize(picture.get(), &slot, width, height) == TAVRINE_OK;
}

bool fill_cell(const Frame &sheet, int32_t x, int32_t y, const char *path,
               const std::string &caption) {
  const tavrine_area2d_t place = {x, y, kPictureWidth, kPictureHeight};
  paint_box(sheet, place, kCell);
  if (!place_picture(sheet, place, path)) {
    std::fprintf(stderr, "contact_sheet: cannot load or place %s\n", path);
    return false;
  }
  const std::string name = path;
  const auto letters = static_cast<size_t>(kPictureWidth / letter_width(kTextScale));
  y += kPictureHeight + 10;
  write_line(sheet, x, y, wrapped(name.substr(name.rfind('/') + 1), letters, 1).at(0), kTextScale,
             kBright);
  for (const std::string &line : wrapped(caption, letters, kCaptionLines - 1)) {
    y += kLineHeight;
    write_line(sheet, x, y, line, kTextScale, kDim);
  }
  return true;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 5 || argc % 2 == 0) {
    std::fprintf(stderr, "usage: %s OUT.png TITLE PICTURE CAPTION [PICTURE CAPTION]...\n", argv[0]);
    return 2;
  }
  tavrine::demo::show_only_problems();
  const int32_t count = (argc - 3) / 2;
  const int32_t columns = std::min(count, kColumns);
  const int32_t rows = (count + columns - 1) / columns;
  const Frame sheet = tavrine::demo::allocate_rgb24(
      kGap + columns * (kPictureWidth + kGap), kTitleHeight + kGap + rows * (kCellHeight + kGap));
  if (!sheet) {
    std::fputs("contact_sheet: out of memory\n", stderr);
    return 1;
  }
  paint_box(sheet, {0, 0, sheet->width, sheet->height}, kPaper);
  write_line(sheet, kGap, kGap, argv[2], kTitleScale, kBright);
  bool is_complete = true;
  for (int32_t index = 0; index < count; ++index) {
    const int32_t x = kGap + index % columns * (kPictureWidth + kGap);
    const int32_t y = kTitleHeight + kGap + index / columns * (kCellHeight + kGap);
    is_complete = fill_cell(sheet, x, y, argv[3 + 2 * index], argv[4 + 2 * index]) && is_complete;
  }
  if (tavrine_frame_save(sheet.get(), argv[1]) != TAVRINE_OK) {
    std::fprintf(stderr, "contact_sheet: cannot save %s\n", argv[1]);
    return 1;
  }
  return is_complete ? 0 : 1;
}
