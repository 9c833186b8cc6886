// The module tavrine._native: a table of functions, and the exception.
#include "call.h"
#include "docstrings.h"
#include "log_record.h"
#include "operations.h"
#include "tavrine_aux.h"

namespace tavrine::python {
namespace {

py::object version(const Arguments & /*arguments*/) {
  return py::make_tuple(tavrine_aux_version(), tavrine_aux_revision());
}

// CPython keeps a pointer to the table.
PyMethodDef *methods() {
  static PyMethodDef table[] = {
      Method<load>::describe(kLoadDoc),
      Method<decode>::describe(kDecodeDoc),
      Method<save>::describe(kSaveDoc),
      Method<encode>::describe(kEncodeDoc),
      Method<resize>::describe(kResizeDoc),
      Method<scale>::describe(kScaleDoc),
      Method<crop>::describe(kCropDoc),
      Method<rotate>::describe(kRotateDoc),
      Method<warp_affine>::describe(kWarpAffineDoc),
      Method<warp_perspective>::describe(kWarpPerspectiveDoc),
      Method<cvt_color>::describe(kCvtColorDoc),
      Method<to_tensor>::describe(kToTensorDoc),
      Method<transform_batch>::describe(kTransformBatchDoc),
      Method<find_affine>::describe(kFindAffineDoc),
      Method<find_similarity>::describe(kFindSimilarityDoc),
      Method<version>::describe(kVersionDoc),
      {nullptr, nullptr, 0, nullptr},
  };
  return table;
}

}  // namespace
}  // namespace tavrine::python

PYBIND11_MODULE(_native, module) {
  using namespace tavrine::python;
  collect_log_records();
  create_error_class(module);
  if (PyModule_AddFunctions(module.ptr(), methods()) != 0) {
    throw pybind11::error_already_set();
  }
}
