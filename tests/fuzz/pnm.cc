#include "driver.h"

FUZZ_TARGET(input) { fuzz::use(fuzz::reader().objects(fuzz::put("input.pnm", input))); }
