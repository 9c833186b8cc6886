#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "frame_rows.h"
#include "input_file.h"
#include "picture_file.h"
#include "pixel_format.h"

namespace tavrine::tool {

namespace {

constexpr char kOperation[] = "compare";

std::string description_of(const tavrine_frame_t &frame) {
  return std::string(pixel_format_name(frame.pixel_format)) + " " +
         size_text(frame.width, frame.height);
}

// The differences of two frames of the same format and size.
class Differences {
 public:
  Differences(const tavrine_frame_t &a, const tavrine_frame_t &b)
      : width_(static_cast<size_t>(a.width)),
        by_pixel_(width_ * static_cast<size_t>(a.height)),
        sample_bytes_(a.pixel_format == TAVRINE_FORMAT_Y16 ? 2 : 1) {
    for (int32_t plane = 0; plane < a.plane_count; ++plane) {
      add_plane(plane_rows(a, plane), plane_rows(b, plane), a.height);
    }
  }

  int32_t largest() const { return largest_; }

  void print() const {
    const auto count = static_cast<double>(count_);
    // Rounded down, so that only equal pictures show 100.0.
    const double equal_percent = std::floor(1000.0 * static_cast<double>(equal_) / count) / 10;
    std::printf("largest difference %d, mean %.2f, %.1f %% of the samples equal\n", largest_,
                static_cast<double>(sum_) / count, equal_percent);
  }

  // A GREY frame of the compared size.
  void draw(const tavrine_frame_t &picture) const {
    const PlaneRows rows = plane_rows(picture, 0);
    const int32_t scale = std::max(largest_, 1);
    for (int32_t y = 0; y < rows.count; ++y) {
      const int32_t *differences = &by_pixel_[static_cast<size_t>(y) * width_];
      std::transform(differences, differences + width_, rows.row(y), [=](int32_t difference) {
        return static_cast<uint8_t>((difference * 255 + scale / 2) / scale);
      });
    }
  }

 private:
  int32_t sample(const uint8_t *row, size_t index) const {
    return sample_bytes_ == 1 ? row[index] : row[2 * index] | row[2 * index + 1] << 8;
  }

  void add_plane(const PlaneRows &a, const PlaneRows &b, int32_t height) {
    const size_t samples = a.bytes / sample_bytes_;
    // Chroma planes have half the rows, and their samples belong to two columns.
    const bool is_chroma = a.count < height;
    for (int32_t y = 0; y < a.count; ++y) {
      for (size_t i = 0; i < samples; ++i) {
        const int32_t difference = std::abs(sample(a.row(y), i) - sample(b.row(y), i));
        largest_ = std::max(largest_, difference);
        sum_ += difference;
        equal_ += difference == 0 ? 1 : 0;
        ++count_;
        const size_t x = i * (is_chroma ? width_ / 2 : width_) / samples;
        if (is_chroma) {
          for (const size_t row : {2 * static_cast<size_t>(y), 2 * static_cast<size_t>(y) + 1}) {
            mark(2 * x, row, difference);
            mark(2 * x + 1, row, difference);
          }
        } else {
          mark(x, static_cast<size_t>(y), difference);
        }
      }
    }
  }

  void mark(size_t x, size_t y, int32_t difference) {
    int32_t &pixel = by_pixel_[y * width_ + x];
    pixel = std::max(pixel, difference);
  }

  size_t width_;
  std::vector<int32_t> by_pixel_;  // the largest of each pixel's samples
  size_t sample_bytes_;
  int32_t largest_ = 0;
  int64_t sum_ = 0;
  int64_t equal_ = 0;
  int64_t count_ = 0;
};

void save_differences(Environment &environment, const Differences &differences,
                      const tavrine_frame_t &compared, const Destination &output) {
  const int32_t core_chooses_strides[TAVRINE_MAX_PLANES] = {};
  const OwnedFrame picture(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_GREY,
                                               compared.width, compared.height,
                                               core_chooses_strides, 0));
  if (!picture) {
    throw Failure(output.path, kOperation, "out of memory");
  }
  differences.draw(*picture.get());
  save_picture(environment, picture, output);
}

}  // namespace

int run(Environment &environment, const CompareRequest &request) {
  const OwnedFrame first = load_picture(environment, request.first, request.layout);
  const OwnedFrame second = load_picture(environment, request.second, request.layout);
  const std::string descriptions[] = {description_of(*first.get()), description_of(*second.get())};
  if (descriptions[0] != descriptions[1]) {
    throw Failure(
        input_name(request.second), kOperation,
        "is " + descriptions[1] + ", " + input_name(request.first) + " is " + descriptions[0]);
  }
  const Differences differences(*first.get(), *second.get());
  if (request.output) {
    save_differences(environment, differences, *first.get(), *request.output);
  }
  if (!request.output || request.output->path != kStandardStream) {
    differences.print();
  }
  constexpr int32_t kAnything = std::numeric_limits<int32_t>::max();
  return differences.largest() > request.tolerance.value_or(kAnything) ? 1 : 0;
}

}  // namespace tavrine::tool
