// PLY, OBJ, STL and OFF: the last byte chooses the name's extension.
#include "driver.h"
#include "support/host.h"

FUZZ_TARGET(input) {
  constexpr const char* names[] = {"input.ply", "input.obj", "input.stl", "input.off"};
  const auto [content, way] = fuzz::choose(input);
  fuzz::use(fuzz::reader().parse(test::FileKind::Model3d, fuzz::put(names[way % 4], content)));
}
