// The built-in container; the kind of its root chooses the call.
#include <cstddef>
#include <cstdint>
#include <string>

#include "container/format.h"
#include "driver.h"
#include "repair.h"
#include "support/host.h"

namespace container = HalconCpp::detail::container;

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed);

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  if (seed % 64 == 0) return LLVMFuzzerMutate(data, size, max_size);
  return fuzz::mutate_container(data, size, max_size, LLVMFuzzerMutate);
}

FUZZ_TARGET(input) {
  constexpr std::size_t root_at = container::magic.size() + 1;
  const auto root =
      input.size() > root_at ? static_cast<container::HandleKind>(input[root_at]) : container::HandleKind{};
  const std::string path = fuzz::put("input.hobj", input);
  if (root == container::HandleKind::None) return fuzz::use(fuzz::reader().objects(path));
  if (root == container::HandleKind::Model3d) return fuzz::use(fuzz::reader().parse(test::FileKind::Model3d, path));
  if (root == container::HandleKind::DlModel) return fuzz::use(fuzz::reader().parse(test::FileKind::DlModel, path));
  fuzz::use_dict(fuzz::reader().dict(path), path, false);
}
