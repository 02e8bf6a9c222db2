#include "driver.h"
#include "support/host.h"

FUZZ_TARGET(input) { fuzz::use(fuzz::reader().parse(test::FileKind::DlModel, fuzz::put("input.onnx", input))); }
