#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "HalconCpp.h"
#include "sections.h"
#include "support/values.h"
#include "table.h"

namespace corpus {

namespace {

using HalconCpp::Hlong;
using HalconCpp::HTuple;

HTuple get(const HTuple& handle, const HTuple& key) {
  HTuple value;
  GetHandleTuple(handle, key, &value);
  return value;
}

HTuple keys(const HTuple& handle) {
  HTuple names;
  GetHandleParam(handle, "keys", HTuple(), &names);
  return names;
}

std::string text_of(const HTuple& tuple) {
  std::string text;
  for (Hlong i = 0; i < tuple.Length(); ++i) {
    const bool is_text = HTuple(tuple[i]).TupleIsStringElem()[0].L() != 0;
    text += (i > 0 ? "," : "") + (is_text ? std::string(tuple[i].S().Text()) : std::to_string(tuple[i].L()));
  }
  return text;
}

// "a=1;b=2", ordered by name.
std::string pairs_of(const HTuple& dict, char separator) {
  const HTuple names = keys(dict);
  std::map<std::string, std::string> pairs;
  for (Hlong i = 0; i < names.Length(); ++i) pairs[text_of(names[i])] = text_of(get(dict, names[i]));
  std::string text;
  for (const auto& [name, value] : pairs) text += (text.empty() ? "" : std::string(1, separator)) + name + "=" + value;
  return text;
}

// "x:float[1,N] y:int64[]"; the table says no more of a sequence than that it is one.
std::string values_of(const HTuple& dicts) {
  std::string text;
  for (Hlong i = 0; i < dicts.Length(); ++i) {
    const std::string type = text_of(get(dicts[i], "element_type"));
    text += (i > 0 ? " " : "") + text_of(get(dicts[i], "name")) + ":";
    text += type.starts_with("sequence(") ? "sequence_type" : type + "[" + text_of(get(dicts[i], "shape")) + "]";
  }
  return text;
}

void check(const Row& row, const HTuple& model, Report& report) {
  const HTuple inputs = get(model, "inputs"), outputs = get(model, "outputs");
  const std::pair<const char*, std::string> found[] = {
      {"ir_version", text_of(get(model, "ir_version"))},
      {"producer", text_of(get(model, "producer_name"))},
      {"producer_version", text_of(get(model, "producer_version"))},
      {"opsets", pairs_of(get(model, "opset_import"), ';')},
      {"graph", text_of(get(model, "graph_name"))},
      {"inputs_without_initializers", std::to_string(inputs.Length())},
      {"outputs", std::to_string(outputs.Length())},
      {"nodes", text_of(get(model, "num_layers"))},
      {"initializers", std::to_string(keys(get(model, "initializers")).Length())},
      {"metadata_props", std::to_string(keys(get(model, "metadata")).Length())},
      {"op_types", pairs_of(get(model, "operator_types"), ' ')},
      {"input_types", values_of(inputs)},
      {"output_types", values_of(outputs)},
  };
  for (const auto& [column, value] : found)
    if (row.at(column) != value) return report.disagree(row.at("path"), column + (" " + row.at(column)), value);
  report.agree();
}

}  // namespace

void check_onnx(const std::filesystem::path& corpus, Report& report) {
  check_rows(corpus, "onnx/expected.tsv", report,
             [&](const Row& row, const std::string& file) { check(row, test::read_dl_model(file), report); });
}

}  // namespace corpus
