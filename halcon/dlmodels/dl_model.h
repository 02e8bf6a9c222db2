// Deep-learning models: a table of the facts that a file states about its model.
#ifndef HALCONCPP_DLMODELS_DL_MODEL_H
#define HALCONCPP_DLMODELS_DL_MODEL_H

#include <cstddef>
#include <span>

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

// Reads an ONNX model; `file` is the whole file. Fails when it is something else, cut off or damaged.
HHandle read_onnx(std::span<const std::byte> file);

}  // namespace HalconCpp::detail

#endif
