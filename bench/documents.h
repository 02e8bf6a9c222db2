// JSON documents of the shapes that programs meet.
#ifndef QUOVEL_BENCH_DOCUMENTS_H
#define QUOVEL_BENCH_DOCUMENTS_H

#include <cstddef>
#include <string>

namespace bench {

// Each takes the number of its strings, numbers and words, and comes near to it.
using MakeDocument = std::string (*)(std::size_t scalars);
// An API's answer: a list of small objects with the same keys.
std::string answer_document(std::size_t scalars);
// A catalogue: one object with a key of its own for each short text.
std::string catalogue_document(std::size_t scalars);
// A file of coordinates: features, each a list of pairs.
std::string coordinate_document(std::size_t scalars);

// Records of ten fields: numbers, short texts, words.
inline constexpr std::size_t record_fields = 10;
std::string record_document(std::size_t scalars);
// Arrays in arrays, four deep.
std::string nested_document(std::size_t scalars);

struct Shape {
  const char* name;
  MakeDocument make;
  std::size_t bytes_per_scalar;  // roughly
};
inline constexpr Shape shapes[] = {{"API answer", answer_document, 15},
                                   {"catalogue", catalogue_document, 30},
                                   {"coordinates", coordinate_document, 11}};

}  // namespace bench

#endif
