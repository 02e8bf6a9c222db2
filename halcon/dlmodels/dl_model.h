// Deep-learning models: a table of what somebody who opens one wants to know.
#ifndef HALCONCPP_DLMODELS_DL_MODEL_H
#define HALCONCPP_DLMODELS_DL_MODEL_H

#include <cstddef>
#include <span>

#include "dicts/entry_table.h"

namespace HalconCpp::detail {

struct DlModelData final : HandleData {
  const char* semantic_type() const noexcept override { return "dl_model"; }
  const EntryTable* entries() const noexcept override { return &table; }
  EntryTable table;
};

// An ONNX model; `file` is the whole file. Rejects what is none, what is cut off and what is damaged.
HHandle read_onnx(std::span<const std::byte> file);

}  // namespace HalconCpp::detail

#endif
