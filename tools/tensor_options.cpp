#include "tensor_options.h"

#include <algorithm>

#include "failure.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

constexpr char kNotes[] = R"(
OUT.npy is a NumPy array of the shape (N, channels, HEIGHT, WIDTH), channels in the order of
--color. In a folder, or with a name that ends in /, there is one such file for each picture.
Values are (byte - mean) / scale. Elements that a region does not cover, and those outside the
picture, get the padding value unchanged. u8 truncates values to integers: below 0 they become 0,
above 255 they keep their low byte.

--mean, --scale and --pad are in the order red, green, blue whatever the order of the channels,
or one number for all. A gray tensor uses the first mean and scale and the middle padding.

The regions file has one X,Y,WIDTH,HEIGHT on each line; # starts a comment. Without it the whole
picture is the only region.

  --mode fit      keeps the shape of a region and pads at the right or at the bottom
  --mode stretch  fills the image

Examples:
  tavrine-aux tensor photo.jpg input.npy --size 224x224 --mean 124,116,104 --scale 58,57,57
  tavrine-aux tensor --in NV12:1920x1080 frame.nv12 faces.npy --size 112x112 --regions faces.txt
  tavrine-aux tensor photos/*.jpg inputs/ --size 224x224 --jobs 4
  python3 -c 'import numpy; print(numpy.load("input.npy").shape)'
)";

struct Name {
  const char *text;
  int32_t value;
};

constexpr Name kColors[] = {
    {"rgb", TAVRINE_TENSOR_RGB}, {"bgr", TAVRINE_TENSOR_BGR}, {"gray", TAVRINE_TENSOR_GRAY}};
constexpr Name kTypes[] = {{"f32", TAVRINE_ELEMENT_FLOAT32}, {"u8", TAVRINE_ELEMENT_UINT8}};
constexpr Name kModes[] = {{"fit", TAVRINE_RESIZE_FIT}, {"stretch", TAVRINE_RESIZE_STRETCH}};

template <size_t Count>
int32_t value_of_name(const char *option, const std::string &text, const Name (&names)[Count]) {
  std::string known;
  for (const Name &name : names) {
    if (text == name.text) {
      return name.value;
    }
    known += (known.empty() ? "" : ", ") + std::string(name.text);
  }
  throw UsageError(std::string(option) + ": '" + text + "' is not one of " + known);
}

std::array<float, 3> triple_of(const char *option, const std::string &text) {
  const auto numbers = parse_numbers(text);
  if (!numbers || (numbers->size() != 1 && numbers->size() != 3)) {
    throw UsageError(std::string(option) + ": '" + text +
                     "' is not R,G,B or one number, like 124,116,104");
  }
  return {numbers->front(), (*numbers)[numbers->size() / 2], numbers->back()};
}

}  // namespace

CLI::App *add_tensor_command(CLI::App &app, Texts &texts, TensorTexts &tensor) {
  struct TextOption {
    const char *name;
    std::string &value;
    const char *value_name;
    const char *help;
  };
  const TextOption options[] = {
      {"--color", tensor.color, "rgb|bgr|gray", "Channels, default rgb"},
      {"--type", tensor.type, "f32|u8", "Elements: float or byte, default f32"},
      {"--mean", tensor.mean, "R,G,B", "Subtracted from the bytes, default 0"},
      {"--scale", tensor.scale, "R,G,B", "Divides the differences, default 1"},
      {"--pad", tensor.padding, "R,G,B", "Value of uncovered elements, default 0"},
      {"--regions", tensor.regions, "FILE",
       "Areas of each picture; they become the images of its tensor"},
      {"--mode", tensor.mode, "fit|stretch", "How a region fills its image, default fit"},
  };
  CLI::App *command =
      add_command(app, "tensor", "Write pictures as network inputs, for NumPy", texts);
  add_picture_set(command, texts, "IN... OUT.npy",
                  "Pictures, and the file or folder to write; - for standard input and output");
  command->add_option("--size", tensor.size, "Size of the tensor's images")
      ->option_text("WIDTHxHEIGHT")
      ->required();
  for (const TextOption &option : options) {
    command->add_option(option.name, option.value, option.help)->option_text(option.value_name);
  }
  add_layout_option(command, texts);
  add_device_option(command, texts);
  command->footer(kNotes);
  return command;
}

TensorRequest tensor_request(const Texts &texts, const TensorTexts &tensor) {
  TensorRequest request;
  request.set = picture_set_of(texts);
  request.layout = layout_of(texts);
  request.on_device = texts.on_device;
  request.regions_file = tensor.regions;
  request.size = size_of_option("--size", tensor.size);
  request.color_type = value_of_name("--color", tensor.color, kColors);
  request.element_type = value_of_name("--type", tensor.type, kTypes);
  request.resize_mode = value_of_name("--mode", tensor.mode, kModes);
  request.mean = triple_of("--mean", tensor.mean);
  request.scale = triple_of("--scale", tensor.scale);
  request.padding = triple_of("--pad", tensor.padding);
  const auto &scale = request.scale;
  if (std::find(scale.begin(), scale.end(), 0.0F) != scale.end()) {
    throw UsageError("--scale: values are divided by it, so it must not be 0");
  }
  const auto is_outside_byte = [](float value) { return value < 0 || value > 255; };
  if (request.element_type == TAVRINE_ELEMENT_UINT8 &&
      std::any_of(request.padding.begin(), request.padding.end(), is_outside_byte)) {
    throw UsageError("--pad: the padding of u8 tensors must be 0 to 255");
  }
  return request;
}

}  // namespace tavrine::tool
