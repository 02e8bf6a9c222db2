// Dictionary files from one format to another.
#ifndef QUOVEL_OUTPUT_CONVERT_H
#define QUOVEL_OUTPUT_CONVERT_H

#include <string>

namespace quovel {

// Reads a dictionary file and writes it as another; HALCON decides both formats. `lenient` leaves out what the output
// cannot hold instead of failing. Throws what HALCON throws.
void convert_dict_file(const std::u16string& input_path, const std::u16string& output_path, bool lenient);

}  // namespace quovel

#endif
