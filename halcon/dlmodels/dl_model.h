// Deep-learning models: a table of the facts that a file states about its model.
#ifndef HALCONCPP_DLMODELS_DL_MODEL_H
#define HALCONCPP_DLMODELS_DL_MODEL_H

#include "core/file.h"
#include "core/handle_data.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail {

struct DlModelData final : HandleData {
  static constexpr const char* type = "dl_model";
  static constexpr const char* name = "a deep-learning model";
  const char* semantic_type() const noexcept override { return type; }
  const EntryTable* entries() const noexcept override { return &table; }
  EntryTable table;
};

// Reads an ONNX model. Fails when the file is something else, cut off or damaged.
HHandle read_onnx(InputFile& file);

}  // namespace HalconCpp::detail

#endif
