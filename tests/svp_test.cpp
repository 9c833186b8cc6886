// The image engine's backend: what it refuses, what it passes to the platform, how it waits, and
// device frames through the public functions.
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "hisvp/addresses.h"
#include "hisvp/operations.h"
#include "tavrine_mpp_devkit.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

using Call = tavrine_devkit_mpp_call_t;

constexpr int32_t kDevice = TAVRINE_MEMORY_DEVICE;
constexpr HI_S32 kCode = 0x1D8010, kFull = HI_ERR_IVE_BUF_FULL, kTimeout = HI_ERR_IVE_QUERY_TIMEOUT;
constexpr int32_t kNothing = TAVRINE_DEVKIT_MPP_NOTHING, kItsWork = TAVRINE_DEVKIT_MPP_ITS_WORK;

// Calls of the platform in order, a letter each, with pauses in microseconds between them.
struct Trace {
  std::string steps;
  std::vector<Call> calls;
};
Trace *trace = nullptr;

void add_call(void *, const Call *call) {
  constexpr std::pair<const char *, const char *> kLetters[] = {
      {"HI_MPI_SYS_GetVirMemInfo", "g"}, {"HI_MPI_SYS_MmzAlloc_Cached", "a"},
      {"HI_MPI_SYS_MmzFree", "f"},       {"HI_MPI_SYS_MmzFlushCache", "c"},
      {"HI_MPI_SYS_MflushCache", "m"},   {"HI_MPI_IVE_CSC", "C"},
      {"HI_MPI_IVE_Resize", "R"},        {"HI_MPI_IVE_Query", "Q"}};
  for (const auto &[name, letter] : kLetters) {
    trace->steps += call->name == std::string(name) ? letter : "";
  }
  trace->calls.push_back(*call);
}

void order(const char *name, int32_t count, HI_S32 code, int32_t does, int32_t first = 1) {
  ASSERT_EQ(tavrine_devkit_mpp_inject_fault(name, first, count, code, does), 0);
}

uint64_t physical_of(const tavrine_frame_t *in) { return find_in_mmz(in->planes[0]).physical; }

// Copies of records that a test changes.
struct Pair {
  tavrine_frame_t in, out;
  int32_t width = 64, height = 64;
};

struct Fault {
  void (*apply)(Pair &);
  const char *message;
  int32_t code = -1;
};

struct Bounds {
  int32_t width, height;
  bool are_accepted;
};
int not_in_mmz = 0;

class Svp : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    blocks_before_ = tavrine_devkit_live_mmz().blocks;
  }
  void TearDown() override {
    EXPECT_EQ(tavrine_devkit_mpp_clear_faults(), 0);
    EXPECT_EQ(tavrine_devkit_live_mmz().blocks, blocks_before_);
    LibraryTest::TearDown();
  }

  // Traces one call.
  template <typename Operation>
  int32_t run(Operation operation) {
    trace_ = {};
    trace = &trace_;
    tavrine_devkit_mpp_set_observer(add_call, nullptr);
    testing::internal::CaptureStdout();
    const int32_t code = operation();
    printed_ = testing::internal::GetCapturedStdout();
    tavrine_devkit_mpp_set_observer(nullptr, nullptr);
    trace = nullptr;
    return code;
  }
  int32_t convert(const tavrine_frame_t *in, tavrine_frame_t *out) {
    return run([&] { return hisvp_cvt_color(in, out, 0); });
  }
  int32_t resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width, int32_t height) {
    return run([&] { return hisvp_resize(in, out, width, height); });
  }

  // The messages since the last look, as their levels and texts.
  std::string messages() {
    std::string text;
    for (const LogRecord &record : take_log()) {
      EXPECT_TRUE(record.tag == "aux.hisvp" && record.line > 0) << record;
      text += std::to_string(record.level) + record.text;
    }
    return text;
  }

  // Checks each fault while all later ones are present too.
  template <size_t Count, typename Operation>
  void expect_refusals(const Fault (&faults)[Count], const OwnedFrame &in, const OwnedFrame &out,
                       const Operation &operation) {
    for (size_t first = 0; first < Count; ++first) {
      Pair pair = {*in.get(), *out.get()};
      for (size_t i = Count; i-- > first;) {
        faults[i].apply(pair);
      }
      EXPECT_EQ(operation(pair), faults[first].code) << first;
      EXPECT_EQ(messages(), faults[first].message) << first;
      const bool looks_up = std::string(faults[first].message).find("mmz") != std::string::npos;
      EXPECT_EQ(trace_.steps, looks_up ? "gg" : "") << first;
    }
  }

  // Frees the scratch blocks that the last call leaked, and returns how many there were.
  int32_t free_leaks() {
    int32_t leaks = 0;
    for (const Call &call : trace_.calls) {
      const bool is_scratch = call.block_name != nullptr && call.length == 1024;
      leaks += is_scratch && HI_MPI_SYS_MmzFree(call.physical_address,
                                                const_cast<void *>(call.address)) == HI_SUCCESS;
    }
    return leaks;
  }

  Trace trace_;
  std::string printed_;
  int32_t blocks_before_ = 0;
};

TEST_F(Svp, ConversionRefusesInOrder) {
  const char *const kRange = "0w/h range : 64x64 -- 1920x1080.\n";
  const char *const kStride = "0stride must 16 bytes align.\n";
  const Fault faults[] = {
      {[](Pair &p) { p.in.pixel_format = TAVRINE_FORMAT_GREY; }, "0Unsupported src pix fmt.\n"},
      {[](Pair &p) { p.out.pixel_format = TAVRINE_FORMAT_NV21; }, "0Unsupported dst pix fmt.\n",
       -6},
      {[](Pair &p) { p.out.height += 65536; }, "0w/h of src must same as w/h of dst.\n"},
      {[](Pair &p) { p.out.width += 65536; }, "0w/h of src must same as w/h of dst.\n"},
      {[](Pair &p) { p.in.width = p.out.width = 65536 + 63; }, kRange},
      {[](Pair &p) { p.in.strides[0] = 45; }, kStride},
      {[](Pair &p) { p.out.strides[0] = 65536 + 65; }, kStride},
      {[](Pair &p) { p.in.planes[0] = &not_in_mmz; }, "0src or dst not in mmz.\n"},
      {[](Pair &p) { p.out.planes[0] = &not_in_mmz; }, "0src or dst not in mmz.\n"},
  };
  const OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 64, 64, kDevice);
  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 64, 64, kDevice);
  expect_refusals(faults, rgb, nv12, [&](Pair &p) { return convert(&p.in, &p.out); });
  EXPECT_EQ(convert(nullptr, rgb.get()) + convert(rgb.get(), nullptr), -2);
  EXPECT_EQ(messages(), "0in or out is NULL.\n0in or out is NULL.\n");
  const Bounds bounds[] = {{64, 1080, true},  {1920, 64, true}, {63, 64, false},
                           {1921, 64, false}, {64, 63, false},  {64, 1081, false}};
  for (const Bounds &size : bounds) {
    Pair pair = {*rgb.get(), *nv12.get()};
    pair.in.width = pair.out.width = size.width;
    pair.in.height = pair.out.height = size.height;
    order("HI_MPI_IVE_CSC", 1, kCode, kNothing);
    EXPECT_EQ(convert(&pair.in, &pair.out), size.are_accepted ? -4 : -1);
    EXPECT_EQ(messages() == kRange, !size.are_accepted);
    EXPECT_EQ(tavrine_devkit_mpp_clear_faults(), size.are_accepted ? 0 : 1);
  }
  for (const OwnedFrame *frame : {&rgb, &nv12}) {
    EXPECT_EQ(convert(frame->get(), frame->get()), -1000);
    EXPECT_EQ(trace_.steps, "gg");
    EXPECT_EQ(printed_ + messages(), "do not support this csc type.\n");
  }
  const std::pair<uint32_t, int> types[] = {{TAVRINE_FORMAT_GREY, 0},  {TAVRINE_FORMAT_NV12, 2},
                                            {TAVRINE_FORMAT_YU12, 4},  {TAVRINE_FORMAT_RGB24, 10},
                                            {TAVRINE_FORMAT_NV21, 16}, {0, 16}};
  for (const auto &[code, type] : types) {
    const uint32_t format = code;  // C++17 lambdas do not capture structured bindings
    EXPECT_EQ(run([&] { return static_cast<int32_t>(hisvp_image_type(format)); }), type);
    EXPECT_EQ(printed_, type == 16 ? "Do not support this pixel format!\n" : "");
  }
}

TEST_F(Svp, ConversionTask) {
  const struct {
    int32_t width, height, rgb_stride, nv12_stride;
    uint32_t engine_width, engine_height, rgb_pixels, nv12_pixels;
    int32_t chroma_offset;
  } cases[] = {
      {1920, 1080, 5762, 1936, 1920, 1080, 1920, 1936, 1936 * 1080},
      {65536 + 640, 480, 50, 65536 + 656, 640, 480, 16, 656, 656 * 480},
      {640, 0x7FFF0000 + 480, 48, 640, 640, 480, 16, 640, 640 * (480 - 65536)},
  };
  for (const auto &c : cases) {
    for (const bool to_rgb : {false, true}) {
      OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 64, 64, kDevice);
      OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 64, 64, kDevice);
      rgb->width = nv12->width = c.width;
      rgb->height = nv12->height = c.height;
      rgb->strides[0] = c.rgb_stride;
      nv12->strides[0] = c.nv12_stride;
      const OwnedFrame &in = to_rgb ? nv12 : rgb, &out = to_rgb ? rgb : nv12;
      order("HI_MPI_IVE_CSC", 1, kCode, kNothing);
      EXPECT_EQ(convert(in.get(), out.get()), -4);
      EXPECT_EQ(messages(), "4HI_MPI_IVE_CSC failed 0x1d8010.\n");
      ASSERT_EQ(trace_.steps, "ggC");
      EXPECT_EQ(trace_.calls[0].address, in->planes[0]);
      EXPECT_EQ(trace_.calls[1].address, out->planes[0]);
      const Call &call = trace_.calls[2];
      EXPECT_EQ(call.mode, to_rgb ? 2 : 10);
      EXPECT_EQ(call.is_instant, HI_TRUE);
      EXPECT_EQ(call.destination.au64VirAddr[0], widen_address(out->planes[0]));
      for (const bool is_rgb : {false, true}) {
        const IVE_IMAGE_S &image = is_rgb == to_rgb ? call.destination : call.source;
        const uint64_t physical = physical_of((is_rgb ? rgb : nv12).get());
        EXPECT_EQ(std::tuple(image.u32Width, image.u32Height, image.enType),
                  std::tuple(c.engine_width, c.engine_height, is_rgb ? 10 : 2));
        EXPECT_EQ(image.au32Stride[0], is_rgb ? c.rgb_pixels : c.nv12_pixels);
        EXPECT_EQ(image.au64PhyAddr[0], physical);
        EXPECT_TRUE(is_rgb ||
                    (image.au32Stride[1] == c.nv12_pixels &&
                     image.au64PhyAddr[1] == physical + static_cast<uint64_t>(c.chroma_offset)));
      }
    }
  }
  EXPECT_EQ(widen_address(reinterpret_cast<void *>(uintptr_t{0xC0001000U})),
            sizeof(void *) == 4 ? 0xFFFFFFFFC0001000U : 0xC0001000U);
}

TEST_F(Svp, ResizeRefusesInOrder) {
  const char *const kGrey = "0SVP resize support gray only.\n";
  const char *const kAlignment = "0SVP resize width stride must be divisible by 16.\n";
  const char *const kParity = "0SVP resize height must be divisible by 2.\n";
  const char *const kRange = "0SVP resize image range : 64x64 --- 1920x1080.\n";
  const Fault faults[] = {
      {[](Pair &p) { p.in.pixel_format = p.out.pixel_format; }, kGrey},
      {[](Pair &p) { p.out.pixel_format = TAVRINE_FORMAT_NV12; }, kGrey},
      {[](Pair &p) { p.in.width = 72; }, kAlignment},
      {[](Pair &p) { p.width = 328; }, kAlignment},
      {[](Pair &p) { p.in.strides[0] = 136; }, kAlignment},
      {[](Pair &p) { p.out.strides[0] = 8; }, kAlignment},
      {[](Pair &p) { p.in.height = 241; }, kParity},
      {[](Pair &p) { p.height = 241; }, kParity},
      {[](Pair &p) { p.in.height = 1082; }, kRange},
      {[](Pair &p) { p.in.width = 65536 + 640; }, kRange},
      {[](Pair &p) { p.height = -64; }, kRange},
  };
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 64, 64, kDevice);
  const auto slot = [&](Pair &p) { return resize(&p.in, &p.out, p.width, p.height); };
  expect_refusals(faults, grey, grey, slot);
  const Bounds bounds[] = {{64, 1080, true},  {1920, 64, true}, {48, 64, false},
                           {1936, 64, false}, {64, 62, false},  {64, 1082, false}};
  for (const Bounds &size : bounds) {
    for (const bool is_requested : {false, true}) {
      Pair pair = {*grey.get(), *grey.get()};
      (is_requested ? pair.width : pair.in.width) = size.width;
      (is_requested ? pair.height : pair.in.height) = size.height;
      order("HI_MPI_SYS_MmzAlloc_Cached", 1, kCode, kNothing);
      EXPECT_EQ(slot(pair), size.are_accepted ? -3 : -1);
      EXPECT_EQ(messages() == kRange, !size.are_accepted);
      EXPECT_EQ(tavrine_devkit_mpp_clear_faults(), size.are_accepted ? 0 : 1);
    }
  }
  for (const bool in_is_lost : {false, true}) {
    Pair pair = {*grey.get(), *grey.get()};
    (in_is_lost ? pair.in : pair.out).planes[0] = &not_in_mmz;
    EXPECT_EQ(slot(pair), -1);
    EXPECT_EQ(messages().find("4SVP resize phy addr error "), 0U);
    EXPECT_EQ(trace_.steps, "gg");
  }
  EXPECT_EQ(resize(nullptr, grey.get(), 64, 64) + resize(grey.get(), nullptr, 64, 64), -2);
  EXPECT_EQ(messages(), "0SVP resize in or output null.\n0SVP resize in or output null.\n");
}

TEST_F(Svp, ResizeTask) {
  const int32_t strides[4] = {672, 0, 0, 0};
  const OwnedFrame in(tavrine_frame_alloc(kDevice, TAVRINE_FORMAT_GREY, 640, 480, strides, 0));
  // A larger destination receives its top left part.
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_GREY, 400, 300, kDevice);
  ASSERT_EQ(resize(in.get(), out.get(), 320, 240), 0);
  ASSERT_EQ(trace_.steps, "ggaccRQf");
  const Call &alloc = trace_.calls[2], &task = trace_.calls[5];
  EXPECT_STREQ(alloc.block_name, "BUFF");
  EXPECT_EQ(alloc.zone_name, nullptr);
  EXPECT_EQ(alloc.length, 1024U);
  const struct {
    const tavrine_frame_t *frame;
    const IVE_IMAGE_S &image;
    const Call &flush;
    uint32_t stride, width, height;
  } sides[] = {{in.get(), task.source, trace_.calls[3], 672, 640, 480},
               {out.get(), task.destination, trace_.calls[4], 400, 320, 240}};
  for (const auto &[frame, image, flush, stride, width, height] : sides) {
    EXPECT_EQ(std::tuple(image.enType, image.au32Stride[0], image.u32Width, image.u32Height),
              std::tuple(IVE_IMAGE_TYPE_U8C1, stride, width, height));
    EXPECT_EQ(image.au64PhyAddr[0], physical_of(frame));
    EXPECT_EQ(image.au64VirAddr[0], widen_address(frame->planes[0]));
    EXPECT_EQ(std::tuple(flush.physical_address, flush.address, flush.length),
              std::tuple(physical_of(frame), frame->planes[0], stride * height));
  }
  EXPECT_EQ(std::tuple(task.mode, task.image_count, task.is_instant), std::tuple(0, 1, HI_TRUE));
  EXPECT_EQ(task.scratch.u64PhyAddr, alloc.physical_address);
  EXPECT_EQ(task.scratch.u64VirAddr, widen_address(alloc.address));
  EXPECT_EQ(task.scratch.u32Size, 1024U);
  EXPECT_EQ(trace_.calls[6].handle, task.handle);
  EXPECT_EQ(trace_.calls[6].is_blocking, HI_TRUE);
  EXPECT_EQ(std::tuple(trace_.calls[7].physical_address, trace_.calls[7].address),
            std::tuple(alloc.physical_address, alloc.address));
}

// A look-up has found something when it has written its record, whatever code it returns.
TEST_F(Svp, LookUpsAreJudgedByTheirRecord) {
  const OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 64, 64, kDevice);
  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 64, 64, kDevice);
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 64, 64, kDevice);
  for (const bool resizes : {false, true}) {
    const auto run_it = [&] {
      return resizes ? resize(grey.get(), grey.get(), 64, 64) : convert(rgb.get(), nv12.get());
    };
    for (const int32_t first : {1, 2}) {
      order("HI_MPI_SYS_GetVirMemInfo", 1, kCode, kItsWork, first);
      EXPECT_EQ(run_it(), 0);
      EXPECT_EQ(messages(), "");
      order("HI_MPI_SYS_GetVirMemInfo", 1, HI_SUCCESS, kNothing, first);
      EXPECT_EQ(run_it(), -1);
      EXPECT_EQ(trace_.steps, "gg");
      const std::string text = messages();
      EXPECT_EQ(text.rfind(resizes ? "4SVP resize phy addr error" : "0src or dst not in mmz", 0),
                0U);
    }
  }
}

TEST_F(Svp, RetriesAndWaits) {
  const OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 64, 64, kDevice);
  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 64, 64, kDevice);
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 64, 64, kDevice);
  // What the first queries return. A query that does its work sets bFinish.
  const struct {
    int32_t count;
    HI_S32 code;
    int32_t does, result, queries;
  } cases[] = {{3, 0, kNothing, 0, 4},
               {2, kTimeout, kNothing, 0, 3},
               {2, kTimeout, kItsWork, 0, 3},
               {2, kCode, kNothing, 0, 3},
               {1, kCode, kItsWork, -4, 1}};
  for (const bool resizes : {false, true}) {
    for (const auto &c : cases) {
      order(resizes ? "HI_MPI_IVE_Resize" : "HI_MPI_IVE_CSC", 5, kFull, kNothing);
      order("HI_MPI_IVE_Query", c.count, c.code, c.does);
      EXPECT_EQ(resizes ? resize(grey.get(), grey.get(), 64, 64) : convert(rgb.get(), nv12.get()),
                c.result);
      std::string expected = resizes ? "ggaccRRRRRRQ" : "ggCCCCCCQ";
      for (int query = 1; query < c.queries; ++query) {
        expected += resizes ? "100 Q" : "10 Q";
      }
      EXPECT_EQ(trace_.steps, expected + (resizes ? "f" : ""));
      const std::string prefix = resizes ? "4SVP resize " : "4";
      EXPECT_EQ(messages(), c.result != 0 ? prefix + "HI_MPI_IVE_Query failed 0x1d8010.\n" : "");
    }
  }
}

TEST_F(Svp, ResizeReportsFailedCalls) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 128, 64, kDevice);
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_GREY, 64, 64, kDevice);
  const auto resize_it = [&] { return resize(in.get(), out.get(), 64, 64); };
  const std::string src = "3flush src failed.\n", dst = "3flush dst failed.\n";
  const struct {
    int32_t first, count;
    bool other_way_fails;
    std::string steps, warnings;
  } flushes[] = {{1, 1, false, "ggacmcRQf", src},
                 {2, 1, true, "ggaccmRQf", dst + dst},
                 {1, 2, true, "ggacmcmRQf", src + src + dst}};
  for (const auto &c : flushes) {
    order("HI_MPI_SYS_MmzFlushCache", c.count, kCode, kNothing, c.first);
    if (c.other_way_fails) {
      order("HI_MPI_SYS_MflushCache", 1, kCode, kNothing);
    }
    EXPECT_EQ(resize_it(), 0);
    EXPECT_EQ(trace_.steps, c.steps);
    EXPECT_EQ(messages(), c.warnings);
    const size_t other_way = c.steps.find('m');
    EXPECT_EQ(trace_.calls[other_way].address, trace_.calls[other_way - 1].address);
    EXPECT_EQ(trace_.calls[other_way].length, trace_.calls[other_way - 1].length);
  }
  // What a failed allocation left in the variables is freed.
  for (const int32_t does : {kNothing, kItsWork}) {
    order("HI_MPI_SYS_MmzAlloc_Cached", 1, kCode, does);
    EXPECT_EQ(resize_it(), -3);
    EXPECT_EQ(messages(), "4SVP resize HI_MPI_SYS_MmzAlloc_Cached failed 0x1d8010.\n");
    ASSERT_EQ(trace_.steps, "ggaf");
    EXPECT_EQ(trace_.calls[3].physical_address, trace_.calls[2].physical_address);
    EXPECT_EQ(trace_.calls[3].address != nullptr, does == kItsWork);
  }
  order("HI_MPI_IVE_Resize", 1, kCode, kNothing);
  EXPECT_EQ(resize_it(), -4);
  EXPECT_EQ(messages(), "4SVP resize HI_MPI_IVE_Resize failed 0x1d8010.\n");
  EXPECT_EQ(trace_.steps, "ggaccR");
  EXPECT_EQ(free_leaks(), 1);
}

// Only a resize flushes: a conversion does not see what the CPU wrote and did not flush.
TEST_F(Svp, ConversionDoesNotFlush) {
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 64, 128, kDevice);
  const OwnedFrame small = make_frame(TAVRINE_FORMAT_GREY, 64, 64, kDevice);
  fill(grey.get(), 50);
  ASSERT_EQ(resize(grey.get(), small.get(), 64, 64), 0);
  EXPECT_EQ(pixels_of(small.get()), std::vector<uint8_t>(64 * 64, 50));

  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 64, 96, kDevice);
  const OwnedFrame upper(tavrine_frame_roi(nv12.get(), 0, 0, 64, 64));
  const OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 64, 64, kDevice);
  ASSERT_EQ(tavrine_frame_reset(nv12.get(), 128), 0);
  fill(nv12.get(), 16);
  ASSERT_EQ(convert(upper.get(), rgb.get()), 0);
  EXPECT_EQ(pixels_of(rgb.get()), std::vector<uint8_t>(64 * 64 * 3, 130));

  // After the luma of a part comes more luma, which is taken for chroma.
  const OwnedFrame lower(tavrine_frame_roi(nv12.get(), 0, 64, 64, 32));
  ASSERT_EQ(tavrine_frame_reset(nv12.get(), 128), 0);
  ASSERT_EQ(tavrine_frame_reset(lower.get(), 100), 0);
  ASSERT_EQ(convert(upper.get(), rgb.get()), 0);
  EXPECT_EQ(pixels_of(rgb.get())[0], 86);
}

TEST_F(Svp, PublicOperationsUseTheEngineFirst) {
  const struct {
    uint8_t rgb[3], engine[3], cpu[3];  // one luma and its chroma
  } colours[] = {{{255, 255, 255}, {235, 128, 128}, {255, 128, 128}},
                 {{0, 0, 0}, {16, 128, 128}, {0, 128, 128}},
                 {{255, 0, 0}, {81, 90, 240}, {76, 84, 255}}};
  tavrine_devkit_guard_device_memory(1);
  for (const auto &colour : colours) {
    OwnedFrame host = make_frame(TAVRINE_FORMAT_RGB24, 640, 480), nv12, back;
    std::vector<uint8_t> pixels;
    for (int i = 0; i < 640 * 480; ++i) {
      pixels.insert(pixels.end(), colour.rgb, colour.rgb + 3);
    }
    set_pixels(host.get(), pixels);
    const OwnedFrame device = on_device(host.get());
    const auto expect_nv12 = [&](const uint8_t *expected) {
      const std::vector<uint8_t> result = pixels_of(nv12.get());
      EXPECT_EQ(std::count(result.begin(), result.begin() + 640 * 480, expected[0]), 640 * 480);
      for (size_t i = 640 * 480; i < result.size(); ++i) {
        ASSERT_EQ(result[i], expected[1 + i % 2]);
      }
    };
    ASSERT_EQ(tavrine_frame_cvt_color(device.get(), nv12.slot(), TAVRINE_FORMAT_NV12), 0);
    expect_nv12(colour.engine);
    ASSERT_EQ(tavrine_frame_cvt_color(nv12.get(), back.slot(), TAVRINE_FORMAT_RGB24), 0);
    const std::vector<uint8_t> result = pixels_of(back.get());
    for (size_t i = 0; i < result.size(); ++i) {
      ASSERT_NEAR(result[i], pixels[i], 1);
    }
    EXPECT_TRUE(take_log().empty());

    // The CPU converts in the full range.
    order("HI_MPI_IVE_CSC", 1, kCode, kNothing);
    ASSERT_EQ(tavrine_frame_cvt_color(device.get(), nv12.slot(), TAVRINE_FORMAT_NV12), 0);
    expect_nv12(colour.cpu);
    const std::vector<LogRecord> log = take_log();
    ASSERT_EQ(log.size(), 2U);
    EXPECT_EQ(log[0].text, "HI_MPI_IVE_CSC failed 0x1d8010.\n");
    EXPECT_EQ(log[1].line, 837) << log[1];
  }
  tavrine_devkit_guard_device_memory(0);
}

}  // namespace
}  // namespace tavrine::test

// Replaces the C library's function for the whole process: a pause is recorded, not waited.
extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
  if (tavrine::test::trace != nullptr) {
    tavrine::test::trace->steps += std::to_string(microseconds) + " ";
  }
  return 0;
}
