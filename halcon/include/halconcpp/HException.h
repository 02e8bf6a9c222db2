#ifndef HALCONCPP_HEXCEPTION_H
#define HALCONCPP_HEXCEPTION_H

#include "halconcpp/HString.h"

namespace HalconCpp {

// How every failure of the class interface arrives. Visible across library borders.
class HALCONCPP_API HException {
 public:
  HException(const HException&) noexcept = default;
  HException& operator=(const HException&) noexcept = default;
  ~HException();

  // One readable line: the operator, the file or key, and the reason.
  HString ErrorMessage() const;

 private:
  friend struct detail::Access;
  explicit HException(HString message) noexcept;

  HString message_;
};

}  // namespace HalconCpp

#endif
