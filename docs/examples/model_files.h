// The content of sample model files that the library reads and does not write.
#ifndef QUOVEL_EXAMPLES_MODEL_FILES_H
#define QUOVEL_EXAMPLES_MODEL_FILES_H

#include <string>

namespace samples {

// One cube in four formats; PLY has colors at its corners.
std::string cube_ply();
std::string cube_obj();
std::string cube_off();
std::string cube_stl();

// A network of four layers that tells coins from washers.
std::string network_onnx();

}  // namespace samples

#endif
