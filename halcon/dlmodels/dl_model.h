// Deep-learning models: a table of what somebody who opens one wants to know.
#ifndef HALCONCPP_DLMODELS_DL_MODEL_H
#define HALCONCPP_DLMODELS_DL_MODEL_H

#include "dicts/entry_table.h"

namespace HalconCpp::detail {

struct DlModelData final : HandleData {
  const char* semantic_type() const noexcept override { return "dl_model"; }
  const EntryTable* entries() const noexcept override { return &table; }
  EntryTable table;
};

}  // namespace HalconCpp::detail

#endif
