#ifndef HALCONCPP_HDICT_H
#define HALCONCPP_HDICT_H

#include "halconcpp/HObject.h"

namespace HalconCpp {

// A dictionary: keys (strings, integers, reals) in a stable order, each with a tuple or an iconic object.
class HALCONCPP_API HDict : public HHandle {
 public:
  HDict() noexcept = default;
  // A handle that is not a dictionary is accepted here and rejected by every query.
  HDict(const HHandle& handle);

  // Replaces this dictionary by the one in the file: JSON by content, or the built-in container.
  void ReadDict(const HTuple& file, const HTuple& gen_names, const HTuple& gen_values);
  // ".json" writes JSON, any other name the built-in container.
  void WriteDict(const HTuple& file, const HTuple& gen_names, const HTuple& gen_values) const;
  // "keys" (with an empty key) lists the keys; "key_data_type" answers "object" or "tuple".
  HTuple GetDictParam(const HTuple& gen_name, const HTuple& key) const;
  HTuple GetDictTuple(const HTuple& key) const;
  HObject GetDictObject(const HTuple& key) const;
};

// A deep-learning model: empty at first.
class HALCONCPP_API HDlModel : public HHandle {
 public:
  HDlModel() noexcept = default;
  void ReadDlModel(const HString& file);
};

}  // namespace HalconCpp

#endif
