#include <span>
#include <utility>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "dicts/entry_table.h"
#include "dlmodels/dl_model.h"

namespace HalconCpp {

using namespace detail;

void CreateDlModel(const HTuple& dict, HTuple* model) {
  operate("CreateDlModel", [&] {
    const EntryTable& from = handle_cast<DictData>(handle_argument(dict, "the dictionary")).table;
    auto* data = new DlModelData;
    HTuple created = Access::handle_tuple(Access::wrap(data));
    data->table.adopt(from.keys(), {from.entries().begin(), from.entries().end()});
    *model = std::move(created);
  });
}

}  // namespace HalconCpp
