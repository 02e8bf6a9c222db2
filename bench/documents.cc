#include "documents.h"

#include <cstdarg>
#include <cstdio>
#include <random>

namespace bench {

namespace {

[[gnu::format(printf, 2, 3)]] void add(std::string& text, const char* format, ...) {
  char piece[512];
  va_list values;
  va_start(values, format);
  text.append(piece, static_cast<std::size_t>(std::vsnprintf(piece, sizeof piece, format, values)));
  va_end(values);
}

}  // namespace

std::string answer_document(std::size_t scalars) {
  std::mt19937 random(1);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  std::string text = "{\n  \"status\": \"ok\",\n  \"items\": [";
  for (std::size_t i = 0; i * 12 < scalars; ++i) {
    add(text, "%s\n    {\"id\": %zu, \"name\": \"part %u\", \"active\": %s, \"score\": %.4f, \"note\": null,",
        i ? "," : "", i, below(100000), below(2) ? "true" : "false", below(10000) / 1e4);
    add(text, " \"tags\": [\"new\", \"class %u\", \"line %u\"],", below(20), below(9));
    add(text, " \"box\": {\"row\": %u, \"column\": %u, \"width\": %u, \"height\": %.2f}}", below(3000), below(4000),
        below(200), below(20000) / 100.0);
  }
  return text += "\n  ]\n}\n";
}

std::string catalogue_document(std::size_t scalars) {
  std::mt19937 random(2);
  std::string text = "{";
  for (std::size_t i = 0; i < scalars; ++i)
    add(text, "%s\n\"article-%07zu\": \"shelf %u\"", i ? "," : "", i, static_cast<unsigned>(random() % 10000));
  return text += "\n}\n";
}

std::string coordinate_document(std::size_t scalars) {
  std::mt19937 random(3);
  constexpr std::size_t pairs = 200;
  std::string text = "{\"type\": \"features\", \"features\": [";
  for (std::size_t i = 0; i * 2 * pairs < scalars; ++i) {
    add(text, "%s\n{\"name\": \"outline %zu\", \"points\": [", i ? "," : "", i);
    double row = static_cast<double>(random() % 3000), column = static_cast<double>(random() % 4000);
    for (std::size_t k = 0; k < pairs; ++k) {
      row += static_cast<double>(random() % 400) / 100 - 2;
      column += static_cast<double>(random() % 400) / 100 - 2;
      add(text, "%s[%.3f, %.3f]", k ? ", " : "", row, column);
    }
    text += "]}";
  }
  return text += "\n]}\n";
}

std::string record_document(std::size_t scalars) {
  std::mt19937 random(4);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  std::string text = "{\"records\": [";
  for (std::size_t i = 0; i * record_fields < scalars; ++i) {
    add(text, "%s\n{\"id\": %zu, \"serial\": \"SN-%06u\", \"line\": \"line %u\", \"passed\": %s,", i ? "," : "", i,
        below(1000000), below(9), below(20) ? "true" : "false");
    add(text, " \"score\": %.4f, \"row\": %u, \"column\": %u, \"width\": %.2f, \"height\": %.2f, \"note\": null}",
        below(10000) / 1e4, below(3000), below(4000), below(20000) / 100.0, below(20000) / 100.0);
  }
  return text += "\n]}\n";
}

std::string nested_document(std::size_t scalars) {
  std::mt19937 random(5);
  constexpr std::size_t per_list = 2, per_row = 4, per_block = 8;
  std::string text = "[";
  for (std::size_t i = 0; i < scalars; ++i) {
    if (i % (per_list * per_row * per_block) == 0)
      text += i ? "]]],\n[[[" : "[[[";
    else if (i % (per_list * per_row) == 0)
      text += "]],[[";
    else if (i % per_list == 0)
      text += "],[";
    else
      text += ",";
    add(text, "%u", static_cast<unsigned>(random() % 100000));
  }
  return text += "]]]]\n";
}

}  // namespace bench
