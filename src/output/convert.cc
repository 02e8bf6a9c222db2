#include "output/convert.h"

#include "HalconCpp.h"
#include "platform/text.h"

namespace quovel {

using HalconCpp::HTuple;

void convert_dict_file(const std::u16string& input_path, const std::u16string& output_path, bool lenient) {
  HalconCpp::HDict dict;
  dict.ReadDict(HTuple(to_halcon(input_path)), HTuple(), HTuple());
  HTuple names, values;
  if (lenient) {
    names = HTuple("raise_error_if_content_not_serializable");
    values = HTuple("false");
  }
  dict.WriteDict(HTuple(to_halcon(output_path)), names, values);
}

}  // namespace quovel
