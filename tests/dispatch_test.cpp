// How a call reaches the engine or the CPU when the core does not return what one expects.
#include <algorithm>

#include "tests/core_hooks.h"
#include "tests/guarded_frame.h"

namespace tavrine::test {
namespace {

class Dispatch : public LibraryTest {};

// The source's memory type is asked for once by the check, then once at each step: before the
// engine, before the CPU, and after it.
TEST_F(Dispatch, AsksForTheMemoryTypeAtEachStep) {
  const struct {
    int32_t before_engine, before_cpu, after_cpu;
    bool asks_engine, copies;
    int32_t uploads;
    bool reaches_destination;
  } cases[] = {
      {1, 1, 1, true, true, 1, true},   {1, 0, 0, true, false, 0, true},
      {0, 1, 1, false, true, 1, true},  {1, 1, 0, true, true, 0, false},
      {0, 0, 1, false, false, 1, true}, {0, 0, 0, false, false, 0, true},
      {5, 5, 5, false, false, 0, true},
  };
  OwnedFrame host = make_frame(TAVRINE_FORMAT_RGB24, 64, 64);
  fill_random(host.get(), random_);
  const OwnedFrame in = on_device(host.get());
  OwnedFrame expected;
  ASSERT_EQ(tavrine_frame_cvt_color(host.get(), expected.slot(), TAVRINE_FORMAT_NV21), 0);
  for (const auto &test : cases) {
    SCOPED_TRACE(testing::Message() << test.before_engine << test.before_cpu << test.after_cpu);
    OwnedFrame out = make_frame(TAVRINE_FORMAT_NV21, 64, 64, TAVRINE_MEMORY_DEVICE);
    fill(out.get(), 9);
    std::vector<int32_t> memory_types = {test.after_cpu, test.before_cpu, test.before_engine, 1};
    tavrine_devkit_reset_call_counts();
    {
      const WithCoreHooks hooks({[&](const tavrine_frame_t *frame, int32_t memory) {
                                   if (frame != in.get() || memory_types.empty()) {
                                     return memory;
                                   }
                                   const int32_t memory_type = memory_types.back();
                                   memory_types.pop_back();
                                   return memory_type;
                                 },
                                 nullptr});
      EXPECT_EQ(tavrine_frame_cvt_color(in.get(), out.slot(), TAVRINE_FORMAT_NV21), 0);
    }
    EXPECT_TRUE(memory_types.empty());
    EXPECT_EQ(tavrine_devkit_call_count("tavrine_frame_download"), test.copies ? 2 : 0);
    EXPECT_EQ(tavrine_devkit_call_count("tavrine_frame_upload"), test.uploads);
    const std::vector<LogRecord> log = take_log();
    const auto has_tag = [&](const char *tag) {
      return std::any_of(log.begin(), log.end(),
                         [&](const LogRecord &record) { return record.tag == tag; });
    };
    EXPECT_EQ(has_tag("aux.hisvp"), test.asks_engine);
    EXPECT_EQ(has_tag("aux"), test.copies) << "the notice of the fallback";
    EXPECT_EQ(pixels_of(out.get()) == pixels_of(expected.get()), test.reaches_destination);
  }
}

// A destination allocated for a source of unknown memory stays in the slot when the call fails.
TEST_F(Dispatch, FreesADestinationOnlyForKnownMemory) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, 8, 8);
  for (const int32_t memory : {0, 1, 5}) {
    int32_t asked = 0;
    OwnedFrame out;
    {
      const WithCoreHooks hooks({[&](const tavrine_frame_t *frame, int32_t real) {
                                   return frame == in.get() && ++asked == 5 ? memory : real;
                                 },
                                 nullptr});
      EXPECT_EQ(tavrine_frame_resize(in.get(), out.slot(), 4, 4), -4);
    }
    EXPECT_EQ(static_cast<bool>(out), memory == 5) << memory;
  }
}

// The core hands back a frame of another format than the library asked for. Its record says what
// it can hold, so the pixels are converted to that; nothing is written beyond its rows.
TEST_F(Dispatch, ConvertsToTheFormatOfTheDestination) {
  constexpr int kWidth = 34, kHeight = 6;
  for (const uint32_t from : kEightBitFormats) {
    const PaddedFrame in = make_padded_frame(from, kWidth, kHeight, random_);
    for (const uint32_t given : kEightBitFormats) {
      // By the ordinary way; the same format is refused by the conversion itself.
      OwnedFrame expected = make_frame(given, kWidth, kHeight);
      const int32_t code =
          from != given ? tavrine_frame_cvt_color(in.frame.get(), expected.slot(), given) : -1000;
      for (const uint32_t asked : kEightBitFormats) {
        if (asked == from || (asked == TAVRINE_FORMAT_GREY && planes_of(from, 2, 2).size() > 1)) {
          continue;  // no conversion, only a reference
        }
        for (const auto edge : {GuardedMemory::Edge::kFirst, GuardedMemory::Edge::kLast}) {
          const GuardedFrame guarded(given, kWidth, kHeight, edge);
          tavrine_frame_t *out = nullptr;
          {
            bool was_given = false;
            const WithCoreHooks hooks({nullptr, [&](tavrine_frame_t *frame) {
                                         if (std::exchange(was_given, true)) {
                                           return frame;
                                         }
                                         tavrine_frame_free(&frame);
                                         return tavrine_frame_ref(guarded.get());
                                       }});
            ASSERT_EQ(tavrine_frame_cvt_color(in.frame.get(), &out, asked), code)
                << from << " " << asked << " " << given;
          }
          ASSERT_EQ(out != nullptr, code == 0);
          if (code == 0) {
            ASSERT_EQ(pixels_of(out), pixels_of(expected.get())) << from << " " << given;
          }
          tavrine_frame_free(&out);
        }
      }
    }
  }
  take_log();
}

}  // namespace
}  // namespace tavrine::test
